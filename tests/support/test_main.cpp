// Runs the tests with their own output away from descriptors 1 and 2, which belong to the backend
// under test.

#include <cstdio>
#include <gtest/gtest.h>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/common_interface_defs.h>
#endif

int main(int argument_count, char** arguments)
{
    stdout = fdopen(dup(STDOUT_FILENO), "w");
#ifdef __SANITIZE_ADDRESS__
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface takes the descriptor as a pointer
    __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<long>(dup(STDERR_FILENO))));
#endif
    testing::InitGoogleTest(&argument_count, arguments);
    return RUN_ALL_TESTS();
}
