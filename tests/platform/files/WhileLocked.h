#pragma once

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/wait.h>

namespace marrowkit::test {

/// Another process that holds a lock on one byte of a file while `work` runs.
template <typename Work>
void WhileLocked(const std::filesystem::path& file, short type, off_t byte, Work work) {
    std::array<int, 2> ready{};
    std::array<int, 2> done{};
    ASSERT_EQ(pipe(ready.data()), 0);
    ASSERT_EQ(pipe(done.data()), 0);
    const pid_t locker = fork();
    if (locker == 0) {
        close(done[1]);
        const int handle = open(file.c_str(), O_RDWR);
        struct flock lock {};
        lock.l_type = type;
        lock.l_whence = SEEK_SET;
        lock.l_start = byte;
        lock.l_len = 1;
        char sign = fcntl(handle, F_SETLK, &lock) == 0 ? 'y' : 'n';
        if (write(ready[1], &sign, 1) != 1) _exit(1);
        _exit(read(done[0], &sign, 1) == 0 ? 0 : 1);  // until the other end is closed
    }
    char sign = 0;
    EXPECT_EQ(read(ready[0], &sign, 1), 1);
    EXPECT_EQ(sign, 'y');
    work();
    for (const int end : {ready[0], ready[1], done[0], done[1]}) close(end);
    int status = 0;
    ASSERT_EQ(waitpid(locker, &status, 0), locker);
    EXPECT_EQ(status, 0);
}

}  // namespace marrowkit::test
