#pragma once

#include "platform/files/files.h"

#include <concepts>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

namespace galleries {

/// What a kind of gallery is made of: a store in a file, and pages made from it.
template <class Kind>
concept GalleryKind = requires(Kind kind, typename Kind::Store store, const typename Kind::Store &constStore,
                               const typename Kind::Contribution &contribution) {
    typename Kind::Store;
    typename Kind::Contribution; // what one chat adds to it
    { kind.path() } -> std::convertible_to<std::filesystem::path>;
    {
        kind.load()
    } -> std::convertible_to<std::optional<typename Kind::Store>>; // nothing when it is unreadable
    store.fold(contribution);
    store.settle(); // makes of what was folded and saved what the file would give back
    { kind.save(constStore) } -> std::convertible_to<bool>;  // whether it stands in its file; says why not
    kind.writePages(&constStore);                            // null for the pages of an empty store
    { Kind::pagesNeedTheFile } -> std::convertible_to<bool>; // whether pages show only what the file holds
};

/// A gallery whose store is kept in memory between the chats that are folded in.
///
/// The store and its pages are what they would be, had each chat been folded by itself: the file read, the
/// chat folded in, the file and the pages written. A file that someone else has replaced meanwhile is read
/// again, and what was folded in since the last writing is folded in anew.
template <GalleryKind Kind>
class KeptGallery {
public:
    using Contribution = typename Kind::Contribution;

    /// Makes the store at hand what its file holds, if it is not.
    /// @return whether it could be read.
    bool refresh()
    {
        const std::filesystem::path path = m_kind.path();
        if (m_store && platform::fileIdentity(path) == m_identity) {
            m_store->settle();
            return true;
        }
        m_identity = platform::fileIdentity(path);
        m_store = m_kind.load();
        if (!m_store) {
            m_isWritten = true; // what stands there is not written over, nor are the pages made from it
            return false;
        }
        for (const Contribution &contribution : m_unsaved) {
            m_store->fold(contribution);
            m_store->settle();
        }
        return true;
    }

    /// Folds in what a chat adds; refresh() has just said that there is a store.
    void fold(Contribution contribution)
    {
        m_store->fold(contribution);
        m_unsaved.push_back(std::move(contribution));
        m_isWritten = false;
    }

    /// Has write() make the pages also when nothing has been folded in.
    void requestPages() { m_isWritten = false; }

    /// Writes the store when something has been folded in, and the pages; nothing when nothing has been
    /// folded in or requested since the last time. When the store cannot be written, the chat folded in last
    /// is given up, as it would be had it been folded by itself.
    void write()
    {
        if (std::exchange(m_isWritten, true))
            return;
        bool isSaved = true;
        if (m_store && !m_unsaved.empty()) {
            isSaved = m_kind.save(*m_store);
            if (isSaved)
                m_unsaved.clear();
            else
                m_unsaved.pop_back();
            m_identity = platform::fileIdentity(m_kind.path());
        }
        if (isSaved || !Kind::pagesNeedTheFile)
            m_kind.writePages(m_store ? &*m_store : nullptr);
        if (!isSaved) {
            m_store.reset();
            m_hasFailed = true;
        }
    }

    /// Whether the store could not be written once.
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }

    [[nodiscard]] Kind &kind() { return m_kind; }

private:
    Kind m_kind;
    std::optional<typename Kind::Store> m_store;
    std::optional<platform::FileIdentity> m_identity; // of the file that m_store was read from or written to
    std::vector<Contribution> m_unsaved;              // folded into m_store since
    bool m_isWritten = false;
    bool m_hasFailed = false;
};

} // namespace galleries
