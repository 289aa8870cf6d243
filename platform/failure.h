#pragma once

#include <QByteArray>

#include <filesystem>
#include <optional>
#include <string>
#include <tl/expected.hpp>

namespace platform {

/// What went wrong, for programs that go on in different ways, and for tests.
enum class FailureKind : quint8 {
    Missing,     ///< nothing stands there, or a link that leads nowhere
    WrongKind,   ///< a folder or a device stands in the place of a file
    WrongName,   ///< its name says that it is not what is asked for
    System,      ///< the system has refused, or the disk has failed
    Malformed,   ///< the contents are not what they should be
    TooLarge,    ///< beyond a limit of ours
    OutOfMemory, ///< it does not fit into memory
};

/// One thing that did not work.
struct Failure {
    FailureKind kind = FailureKind::System;
    std::filesystem::path path = {};             ///< of the file or folder that it is about; empty for none
    std::string reason = {};                     ///< in English and UTF-8, without the path; no sentence
    std::optional<qint64> offset = std::nullopt; ///< of the fault in the file, in bytes; `reason` has it too

    /// "PATH: REASON" in UTF-8, but for the path, which is any bytes.
    [[nodiscard]] QByteArray line() const
    {
        return QByteArray::fromStdString(path.empty() ? reason : path.native() + ": " + reason);
    }
};

/// A value, or why there is none. (Readers of archives and property lists throw instead, see formaterror.h;
/// that ends at whoever loads a file.)
template <class Value = void>
using Result = tl::expected<Value, Failure>;

} // namespace platform
