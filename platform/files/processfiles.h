#pragma once

namespace platform {

/// Readies the process for writing files. Every program calls it first of all, before anything is opened.
///
/// - A standard descriptor that was closed by whoever started the program is opened on /dev/null, so that no
///   file takes its number and receives the console log. Reading and writing through it still fail.
/// - A file that grows beyond the limit for its size (`ulimit -f`) makes the write fail with EFBIG, instead
/// of
///   ending the process with SIGXFSZ.
void prepareProcessForFiles();

} // namespace platform
