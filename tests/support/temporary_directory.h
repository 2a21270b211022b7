// A directory of its own for a test that needs files, gone with the record.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

struct temporary_directory {
    std::filesystem::path path;

    temporary_directory()
    {
        std::string name = (std::filesystem::temp_directory_path() / "backend_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
        path = name;
    }
    temporary_directory(const temporary_directory&) = delete;
    temporary_directory& operator=(const temporary_directory&) = delete;
    ~temporary_directory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    // Writes a file and returns its path.
    std::string file(const std::string& name, const std::string& text) const
    {
        const std::filesystem::path file_path = path / name;
        std::ofstream(file_path) << text;
        return file_path.string();
    }
};
