#pragma once

#include <QByteArray>

#include <functional>
#include <optional>

namespace indexing {

// Many files are read in worker processes: all cores have something to do, and a file that brings its reader
// down costs only itself. (Decoding is for one thread of a process: it names temporaries by process and keeps
// caches.)

/// What came of one job: its bytes, or why there are none.
struct JobResult {
    std::optional<QByteArray> bytes;
    std::string failure; ///< in English: the worker died
};

/// Does jobs 0 to @p count - 1 in worker processes, forked from this one as it is now: @p work runs there,
/// and its bytes come back here. @p take is called in this process with each result, in the order of the
/// jobs; while it runs, workers go on with later jobs, of which only a few lie ready.
///
/// To be called from a process with one thread.
/// @param workers how many at a time; 0 for one a processor.
/// @param take gives false to stop; jobs that have been begun are given up then.
void runInWorkers(size_t count, const std::function<QByteArray(size_t job)> &work,
                  const std::function<bool(size_t job, JobResult result)> &take, unsigned workers = 0);

} // namespace indexing
