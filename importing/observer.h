#pragma once

#include "importing/failure.h"

#include <QtGlobal>

#include <filesystem>

namespace importing {

/// What an import is at work on.
enum class Stage : quint8 {
    Looking, ///< counts entries of the disk; how many there are nobody knows before
    Reading, ///< counts transcripts, those of the transcript folder included
    Copying, ///< counts transcripts that are to be copied
};

/// Follows an import, and may stop it between two files. Does nothing by itself.
class Observer {
public:
    Observer() = default;
    Observer(const Observer &) = delete;
    Observer &operator=(const Observer &) = delete;
    virtual ~Observer() = default;

    /// @param total 0 while it is not known.
    virtual void progress(Stage /*stage*/, qsizetype /*done*/, qsizetype /*total*/) {}
    /// A whole transcript stands at @p destination now.
    virtual void copied(const std::filesystem::path & /*source*/,
                        const std::filesystem::path & /*destination*/)
    {
    }
    /// Asked before each file.
    [[nodiscard]] virtual bool isStopped() const { return false; }

    void throwIfStopped() const
    {
        if (isStopped())
            throw Stopped();
    }
};

} // namespace importing
