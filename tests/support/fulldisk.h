#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>

/// While one exists, no file can grow beyond a size: this stands in for a disk that is full by then.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes)
    {
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &m_previousLimit), 0);
        const rlimit limit{bytes, m_previousLimit.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_previousLimit);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

private:
    rlimit m_previousLimit{};
    void (*m_previousHandler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};
