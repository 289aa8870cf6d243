#pragma once

#include "platform/files/descriptor.h"
#include "platform/files/files.h"

namespace platform {

/// A file that is read again only when it has changed: what was known of it when it was last read.
class NotedFile {
public:
    /// Notes the file at @p path, also when there is none, to be called before it is read: a change in
    /// between then shows.
    /// @return whether it has changed since the last call, or might have.
    bool hasChanged(const std::filesystem::path &path);
    /// To be called when this process has just written the file at @p path, and so knows what it holds.
    void noteOwnWriting(const std::filesystem::path &path);
    /// To be called when the file could not be read: it may be readable later without having changed.
    void forget() { m_holds = false; }
    /// Whether there was a file.
    [[nodiscard]] bool exists() const { return m_identity.has_value(); }

private:
    std::filesystem::path m_path;
    std::optional<FileIdentity> m_identity; // nothing when there is no file
    bool m_holds = false;                   // whether an equal identity means an equal file
    Descriptor m_own; // keeps the file that this process has written from giving its identity to another one
};

} // namespace platform
