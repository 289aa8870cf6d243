#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

/// While one exists, this process gets no more than so many bytes of memory beside what it has.
class MemoryLimit {
public:
    explicit MemoryLimit(rlim_t bytes)
    {
        rlim_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        EXPECT_EQ(getrlimit(RLIMIT_AS, &m_previousLimit), 0);
        const rlimit limit{pages * rlim_t(sysconf(_SC_PAGESIZE)) + bytes, m_previousLimit.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    }
    ~MemoryLimit() { setrlimit(RLIMIT_AS, &m_previousLimit); }
    MemoryLimit(const MemoryLimit &) = delete;
    MemoryLimit &operator=(const MemoryLimit &) = delete;

private:
    rlimit m_previousLimit{};
};
