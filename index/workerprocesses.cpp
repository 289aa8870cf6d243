#include "index/workerprocesses.h"

#include "platform/files/descriptor.h"
#include "platform/files/systemcalls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <new>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace indexing {

namespace {

using platform::Descriptor;

constexpr size_t jobsAhead = 8;                      // of one worker
constexpr size_t resultsAhead = 64;                  // that wait to be taken, for each worker
constexpr qsizetype bytesAhead = qsizetype(1) << 25; // of these

/// What a worker writes before the bytes of a result.
struct ResultHead {
    quint64 size = 0;
    bool isFailure = false; ///< the bytes are the reason
};

/// The life of a worker: answers jobs until its parent closes the connection.
[[noreturn]] void work(int connection, const std::function<QByteArray(size_t)> &work)
{
    constexpr int exitCode = 0;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGINT, SIG_IGN); // ^C goes to the parent, who ends this one
    quint64 job = 0;
    while (platform::readAll(connection, &job, sizeof job)) {
        ResultHead head;
        QByteArray bytes;
        try {
            bytes = work(size_t(job));
        } catch (const std::bad_alloc &) {
            head.isFailure = true;
            bytes = "does not fit into memory";
        }
        head.size = quint64(bytes.size());
        if (!platform::writeAll(connection, {reinterpret_cast<const char *>(&head), sizeof head}) ||
            !platform::writeAll(connection, bytes))
            break;
    }
    _exit(exitCode);
}

class Worker {
public:
    /// @param others connections of this process that the worker must not keep open.
    Worker(const std::function<QByteArray(size_t)> &toDo, const std::vector<std::unique_ptr<Worker>> &others)
    {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
            return;
        m_connection = Descriptor(ends[0]);
        const Descriptor theirs(ends[1]);
        m_process = fork();
        if (m_process == 0) {
            m_connection.close();
            for (const auto &other : others)
                other->m_connection.close();
            work(theirs.number(), toDo);
        }
        if (m_process < 0)
            m_connection.close();
    }
    ~Worker() { end(); }
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    [[nodiscard]] bool isAlive() const { return bool(m_connection); }
    [[nodiscard]] int connection() const { return m_connection.number(); }
    [[nodiscard]] std::deque<size_t> &jobs() { return m_jobs; }

    void give(size_t job)
    {
        m_jobs.push_back(job);
        const quint64 number = job;
        // When it has died, its connection's end tells.
        (void)::send(m_connection.number(), &number, sizeof number, MSG_NOSIGNAL);
    }

    /// Reads what has arrived. @return false at the end of the connection.
    [[nodiscard]] bool receive()
    {
        constexpr size_t chunk = size_t(1) << 16;
        std::array<char, chunk> buffer{};
        const ssize_t got = ::recv(m_connection.number(), buffer.data(), buffer.size(), 0);
        if (got > 0)
            m_received.append(buffer.data(), got);
        return got > 0 || (got < 0 && errno == EINTR);
    }

    /// The result of the first of its jobs, once it is there whole.
    [[nodiscard]] std::optional<JobResult> takeResult()
    {
        ResultHead head;
        if (m_received.size() < qsizetype(sizeof head))
            return std::nullopt;
        std::memcpy(&head, m_received.constData(), sizeof head);
        const auto end = qsizetype(sizeof head) + qsizetype(head.size);
        if (m_received.size() < end)
            return std::nullopt;
        QByteArray bytes = m_received.mid(sizeof head, qsizetype(head.size));
        m_received.remove(0, end);
        m_jobs.pop_front();
        if (head.isFailure)
            return JobResult{std::nullopt, bytes.toStdString()};
        return JobResult{std::move(bytes), {}};
    }

    /// Ends the process, and says how it ended.
    std::string end()
    {
        m_connection.close();
        if (m_process <= 0)
            return "no process could be started to read it";
        ::kill(m_process, SIGKILL); // it is idle, or its work is not wanted any more
        int status = 0;
        while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
        }
        m_process = -1;
        if (WIFSIGNALED(status) && WTERMSIG(status) != SIGKILL)
            return std::string("reading it ended the process: ") + strsignal(WTERMSIG(status));
        return "reading it ended the process";
    }

private:
    Descriptor m_connection;
    pid_t m_process = -1;
    std::deque<size_t> m_jobs; // given and not answered
    QByteArray m_received;
};

/// The jobs of one call.
class Run {
public:
    Run(size_t count, const std::function<QByteArray(size_t)> &work, size_t workers)
        : m_count(count), m_work(work)
    {
        for (size_t i = 0; i < std::min(workers, count); ++i)
            m_workers.push_back(std::make_unique<Worker>(m_work, m_workers));
    }

    void run(const std::function<bool(size_t, JobResult)> &take)
    {
        while (m_nextToTake < m_count) {
            giveJobs();
            waitForResults();
            for (auto ready = m_ready.find(m_nextToTake); ready != m_ready.end();
                 ready = m_ready.find(m_nextToTake)) {
                JobResult result = std::move(ready->second);
                m_readyBytes -= result.bytes ? result.bytes->size() : 0;
                m_ready.erase(ready);
                if (!take(m_nextToTake++, std::move(result)))
                    return;
            }
        }
    }

private:
    void giveJobs()
    {
        for (auto &worker : m_workers) {
            while (worker->isAlive() && worker->jobs().size() < jobsAhead && hasJob()) {
                const size_t job = m_again.empty() ? m_nextToGive++ : m_again.front();
                if (!m_again.empty())
                    m_again.pop_front();
                worker->give(job);
            }
        }
    }

    [[nodiscard]] bool hasJob() const
    {
        if (!m_again.empty())
            return true;
        return m_nextToGive < m_count && m_nextToGive < m_nextToTake + resultsAhead * m_workers.size() &&
               (m_readyBytes < bytesAhead || m_nextToGive == m_nextToTake);
    }

    void waitForResults()
    {
        std::vector<pollfd> connections;
        for (const auto &worker : m_workers)
            connections.push_back(
                {worker->isAlive() && !worker->jobs().empty() ? worker->connection() : -1, POLLIN, 0});
        if (std::all_of(connections.begin(), connections.end(),
                        [](const pollfd &entry) { return entry.fd < 0; })) {
            workHere();
            return;
        }
        if (::poll(connections.data(), connections.size(), -1) < 0)
            return; // interrupted
        for (size_t i = 0; i < m_workers.size(); ++i) {
            if (connections[i].revents != 0)
                receiveFrom(m_workers[i]);
        }
    }

    void receiveFrom(std::unique_ptr<Worker> &worker)
    {
        const bool isOpen = worker->receive();
        while (!worker->jobs().empty()) {
            const size_t job = worker->jobs().front();
            auto result = worker->takeResult();
            if (!result)
                break;
            add(job, std::move(*result));
        }
        if (isOpen)
            return;
        std::deque<size_t> unfinished = worker->jobs();
        const std::string reason = worker->end();
        if (!unfinished.empty()) {
            add(unfinished.front(), {std::nullopt, reason}); // the one it was at
            unfinished.pop_front();
        }
        m_again.insert(m_again.end(), unfinished.begin(), unfinished.end());
        worker = std::make_unique<Worker>(m_work, m_workers);
    }

    /// Where no process can be started, the work is done here.
    void workHere()
    {
        const size_t job = m_again.empty() ? m_nextToGive++ : m_again.front();
        if (!m_again.empty())
            m_again.pop_front();
        try {
            add(job, {m_work(job), {}});
        } catch (const std::bad_alloc &) {
            add(job, {std::nullopt, "does not fit into memory"});
        }
    }

    void add(size_t job, JobResult result)
    {
        m_readyBytes += result.bytes ? result.bytes->size() : 0;
        m_ready.emplace(job, std::move(result));
    }

    size_t m_count;
    const std::function<QByteArray(size_t)> &m_work;
    std::vector<std::unique_ptr<Worker>> m_workers;
    size_t m_nextToGive = 0;
    size_t m_nextToTake = 0;
    std::deque<size_t> m_again; // given to a worker that died before it came to them
    std::map<size_t, JobResult> m_ready;
    qsizetype m_readyBytes = 0;
};

} // namespace

void runInWorkers(size_t count, const std::function<QByteArray(size_t job)> &work,
                  const std::function<bool(size_t job, JobResult result)> &take, unsigned workers)
{
    if (workers == 0)
        workers = std::max(std::thread::hardware_concurrency(), 1U);
    Run(count, work, workers).run(take);
}

} // namespace indexing
