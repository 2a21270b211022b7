// The test's side of system_faults.h.
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "support/child_process.h"
#include "support/descriptors.h"
#include "support/system_faults.h"

// In the file, which is made, for as long as the record lives.
struct mapped_faults {
    std::string path;
    system_faults* faults = nullptr;

    explicit mapped_faults(std::string file) : path(std::move(file))
    {
        const common::owned_descriptor opened(
            checked(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)));
        checked(ftruncate(opened.number, sizeof(system_faults)));
        void* const mapped = mmap(nullptr, sizeof(system_faults), PROT_READ | PROT_WRITE,
                                  MAP_SHARED, opened.number, 0);
        if (mapped == MAP_FAILED) throw std::system_error(errno, std::generic_category());
        faults = static_cast<system_faults*>(mapped); // zeroes are its initial value
    }
    mapped_faults(const mapped_faults&) = delete;
    mapped_faults& operator=(const mapped_faults&) = delete;
    ~mapped_faults()
    {
        munmap(faults, sizeof(system_faults));
    }
    system_faults* operator->() const
    {
        return faults;
    }

    // Words in front of a program's own that let it suffer from them, with this folder.
    std::vector<std::string> launcher(const std::string& folder) const
    {
        const char* const sanitizer = std::getenv("ASAN_OPTIONS");
        return {"env", "LD_PRELOAD=" + built_program("system_faults.so"), "SYSTEM_FAULTS=" + path,
                "SYSTEM_FAULTS_FOLDER=" + folder,
                "ASAN_OPTIONS=verify_asan_link_order=0:" +
                    std::string(sanitizer == nullptr ? "" : sanitizer)};
    }
};
