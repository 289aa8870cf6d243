#pragma once

#include "VORALogGenerator.h"

#include "VORAHostFlags.h"

#include "galleries/keptgallery.h"
#include "galleries/statistics.h"
#include "galleries/wordlist.h"

#include <chrono>

// The galleries behind the operations of VORALogGenerator, kept for a run or for one call.

struct LinkGallery {
    using Store = galleries::LinkStore;
    using Contribution = std::vector<Store::Speaker>;
    static constexpr bool pagesNeedTheFile = true;

    [[nodiscard]] static std::filesystem::path path();
    [[nodiscard]] static std::optional<Store> load() { return Store::load(path()); }
    /// Reports a failure.
    static bool save(const Store &store);
    static void writePages(const Store *store);
};

struct ImageGallery {
    using Store = galleries::ImageStore;
    using Contribution = std::vector<Store::Speaker>;
    static constexpr bool pagesNeedTheFile = false;

    [[nodiscard]] static std::filesystem::path path();
    [[nodiscard]] static std::optional<Store> load() { return Store::load(path()); }
    static bool save(const Store &store);
    static void writePages(const Store *store);
};

struct StatisticsGallery {
    using Store = galleries::Statistics;
    using Contribution = galleries::ChatStatistics;
    static constexpr bool pagesNeedTheFile = false;

    [[nodiscard]] static std::filesystem::path path();
    [[nodiscard]] static std::optional<Store> load() { return Store::load(); }
    static bool save(const Store &store) { return store.save(); }
    static void writePages(const Store *store);

    galleries::WordList curses;
    galleries::WordList netspeak;
};

/// What a VORALogGenerator::Run keeps: the three galleries, and when they are written.
class GalleryRun {
public:
    using Clock = VORALogGenerator::Run::Clock;

    explicit GalleryRun(std::function<Clock::time_point()> now) : m_now(std::move(now)) {}

    /// Writes all that has not been written.
    void finish() { writeAll(); }

    /// One call of an operation: in the open run, or by itself when there is none.
    /// @param fold is handed the gallery and brings it up to date, all but the writing.
    /// @param isUrgent whether the pages are wanted at once.
    template <class Kind, class Fold>
    static void call(bool isUrgent, Fold fold)
    {
        GalleryRun *run = VORAHostFlags::openRun;
        if (!run) {
            galleries::KeptGallery<Kind> gallery;
            fold(gallery);
            gallery.write();
            return;
        }
        Part<Kind> &part = run->part(static_cast<Kind *>(nullptr));
        fold(part.gallery);
        const bool isFirst = !std::exchange(part.wasCalled, true);
        if (isUrgent || isFirst || run->hasFailed())
            run->timed([&part] { part.gallery.write(); });
        else if (run->isDue())
            run->writeAll();
    }

private:
    template <class Kind>
    struct Part {
        galleries::KeptGallery<Kind> gallery;
        bool wasCalled = false;
    };
    [[nodiscard]] Part<LinkGallery> &part(const LinkGallery *) { return m_links; }
    [[nodiscard]] Part<ImageGallery> &part(const ImageGallery *) { return m_images; }
    [[nodiscard]] Part<StatisticsGallery> &part(const StatisticsGallery *) { return m_statistics; }

    /// Whether any store could not be written once: nothing is left to wait any more.
    [[nodiscard]] bool hasFailed() const;
    [[nodiscard]] bool isDue() const;
    void writeAll();
    /// Adds the time that @p write takes to what the last writing took.
    template <class Write>
    void timed(Write write)
    {
        const Clock::time_point start = m_now();
        write();
        m_lastEnd = m_now();
        m_lastCost += m_lastEnd - start;
    }

    Part<LinkGallery> m_links;
    Part<ImageGallery> m_images;
    Part<StatisticsGallery> m_statistics;
    std::function<Clock::time_point()> m_now;
    Clock::time_point m_lastEnd;
    Clock::duration m_lastCost{};
};
