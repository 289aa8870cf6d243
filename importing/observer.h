#pragma once

#include "importing/failure.h"

#include <QtGlobal>

#include <filesystem>

namespace importing {

/// What an import is at work on.
enum class Stage : quint8 {
    Looking, ///< counts entries of the disk
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

    /// @param total 0 while looking: nobody knows before how many entries there are.
    /// @param part how much is done, from 0 to 1; while looking, of the tree of folders.
    virtual void progress(Stage /*stage*/, qsizetype /*done*/, qsizetype /*total*/, double /*part*/) {}
    /// A whole transcript stands at @p destination now.
    virtual void copied(const std::filesystem::path & /*source*/,
                        const std::filesystem::path & /*destination*/)
    {
    }
    /// Asked before each file.
    [[nodiscard]] virtual bool isStopped() const { return false; }

    /// Progress of a stage whose total is known.
    void progress(Stage stage, qsizetype done, qsizetype total)
    {
        progress(stage, done, total, total > 0 ? double(done) / double(total) : 1);
    }

    void throwIfStopped() const
    {
        if (isStopped())
            throw Stopped();
    }
};

} // namespace importing
