#pragma once

#include "galleries/propertylistfile.h"

#include "platform/files/files.h"
#include "platform/log/nslog.h"

#include <filesystem>
#include <functional>
#include <new>
#include <optional>
#include <utility>
#include <vector>

namespace galleries {

/// One store in a file, and the pages made from it. The store is kept in memory between the chats that are
/// folded in.
///
/// Store and pages are what they would be, had each chat been folded in by itself: the file read, the chat
/// folded in, the file and the pages written. A file that someone else has replaced meanwhile is read again,
/// and what was folded in since the last writing is folded in anew.
///
/// An exception (there is too little memory) leaves the gallery as it was before the last fold(). What has
/// been folded in and not been saved can be taken back with takeBack().
/// @tparam Store LinkStore, ImageStore or Statistics: load(path), fold(), settle() and save(path).
template <class Store>
class Gallery {
public:
    using Contribution = typename Store::Contribution; ///< what one chat adds

    /// What tells one gallery from another.
    struct Kind {
        std::filesystem::path (*path)();               ///< of the store, asked for anew each time
        std::function<void(const Store &)> writePages; ///< of an empty store where there is no readable one
        bool pagesNeedTheFile = false;                 ///< whether pages show only what the file holds
        std::function<void(const platform::Failure &)> failed =
            {}; ///< told why the store could not be written
    };
    explicit Gallery(Kind kind) : m_kind(std::move(kind)) {}

    /// Makes the store at hand what its file holds, if it is not.
    /// @return whether it could be read.
    bool refresh()
    {
        const std::filesystem::path path = m_kind.path();
        const auto identity = platform::fileIdentity(path);
        if (m_store && identity == m_identity) {
            m_store->settle();
            return true;
        }
        m_store.reset();
        m_store = Store::load(path);
        m_identity = identity;
        if (!m_store) {
            m_isPending = false; // it is not replaced, nor are pages made that would show none of it
            return false;
        }
        try {
            for (const Contribution &contribution : m_unsaved) {
                m_store->fold(contribution);
                m_store->settle();
            }
        } catch (...) {
            m_store.reset();
            throw;
        }
        return true;
    }

    /// Folds in what a chat adds; refresh() has just said that there is a store.
    void fold(Contribution contribution)
    {
        m_unsaved.push_back(std::move(contribution));
        try {
            m_store->fold(m_unsaved.back());
        } catch (...) {
            giveUpLast();
            throw;
        }
        m_isPending = true;
    }

    /// What has been folded in and not been saved, for takeBack().
    struct Mark {
        size_t unsaved = 0;
        bool isPending = false;
    };
    [[nodiscard]] Mark mark() const { return {m_unsaved.size(), m_isPending}; }

    /// Gives up what has been folded in since @p mark, unless it has been saved.
    void takeBack(const Mark &mark)
    {
        m_isPending = m_isPending && mark.isPending;
        if (m_unsaved.size() <= mark.unsaved)
            return;
        m_unsaved.erase(m_unsaved.begin() + std::ptrdiff_t(mark.unsaved), m_unsaved.end());
        m_store.reset();
    }

    /// Has write() make the pages also when nothing has been folded in.
    void requestPages() { m_isPending = true; }

    /// Writes the store if something has been folded in, and the pages; nothing if nothing has been folded in
    /// or requested since the last time. When the store cannot be written, the chat folded in last is given
    /// up, as it would be had it been folded in by itself.
    void write()
    {
        m_wasWritten = true;
        if (!std::exchange(m_isPending, false))
            return;
        const platform::Result<> saved = save();
        if (saved || !m_kind.pagesNeedTheFile)
            writePages();
        if (saved)
            return;
        m_hasFailed = true;
        giveUpLast();
        if (m_kind.failed)
            m_kind.failed(saved.error());
    }

    /// Whether write() was ever called.
    [[nodiscard]] bool wasWritten() const { return m_wasWritten; }
    /// Whether the store could not be written once.
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }

private:
    platform::Result<> save()
    {
        if (m_unsaved.empty())
            return {};
        try {
            if (!m_store && !refresh())
                return {}; // what someone else has put there is not replaced
            platform::Result<> saved = m_store->save(m_kind.path());
            m_identity = platform::fileIdentity(m_kind.path());
            if (saved)
                m_unsaved.clear();
            return saved;
        } catch (const std::bad_alloc &) {
            giveUpLast();
            throw;
        }
    }

    void writePages() const
    {
        try {
            m_kind.writePages(m_store ? *m_store : Store());
        } catch (const std::bad_alloc &) { // the store, which counts, is written
            platform::NSLog(
                u"There is not enough memory for the pages of a gallery; they stay as they were.");
        }
    }

    void giveUpLast()
    {
        m_unsaved.pop_back();
        m_isPending = !m_unsaved.empty();
        m_store.reset();
    }

    Kind m_kind;
    std::optional<Store> m_store;
    std::optional<platform::FileIdentity> m_identity; // of the file that m_store was read from or written to
    std::vector<Contribution> m_unsaved;              // folded into m_store since
    bool m_isPending = false;                         // whether write() has something to do
    bool m_wasWritten = false;
    bool m_hasFailed = false;
};

} // namespace galleries
