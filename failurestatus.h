#pragma once

#include <QString>

#include <optional>

/// What the preferences tell of the failures that were reported with VORAChatLog::reportError(), by whichever
/// of the product's programs.
struct FailureStatus {
    std::optional<qint64>
        code;                ///< of the latest failure, a VORAChatLog::ErrorCode; nothing when there was none
    QString text;            ///< of the latest one
    qint64 sinceCleared = 0; ///< how many since the count was last cleared

    [[nodiscard]] static FailureStatus current();
    /// Two lines for people: how many failures, and the latest.
    [[nodiscard]] QString description() const;
};

/// Starts the count anew; the latest failure stays known. The third one from then on draws attention again.
/// @return false when the preferences could not be written.
bool clearFailureCount();
