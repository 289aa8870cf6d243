#include "index/workerprocesses.h"

#include <csignal>
#include <gtest/gtest.h>
#include <new>
#include <numeric>
#include <sys/wait.h>
#include <vector>

TEST(WorkerProcesses, GiveResultsInOrderAndLoseOnlyTheJobsThatEndThem)
{
    std::vector<size_t> taken;
    std::vector<size_t> failed;
    indexing::runInWorkers(
        500,
        [](size_t job) {
            if (job % 100 == 7)
                std::raise(SIGSEGV);
            if (job == 300)
                throw std::bad_alloc();
            return QByteArray(job == 20 ? 3'000'000 : 10, char('a' + job % 26));
        },
        [&](size_t job, const indexing::JobResult &result) {
            taken.push_back(job);
            if (!result.bytes)
                failed.push_back(job);
            else
                EXPECT_EQ(*result.bytes, QByteArray(job == 20 ? 3'000'000 : 10, char('a' + job % 26)));
            return true;
        },
        3);
    std::vector<size_t> all(500);
    std::iota(all.begin(), all.end(), size_t(0));
    EXPECT_EQ(taken, all);
    EXPECT_EQ(failed, (std::vector<size_t>{7, 107, 207, 300, 307, 407}));

    size_t count = 0;
    indexing::runInWorkers(
        1000, [](size_t) { return QByteArray("x"); },
        [&](size_t, const indexing::JobResult &) { return ++count < 5; });
    EXPECT_EQ(count, 5U);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1); // none is left
}
