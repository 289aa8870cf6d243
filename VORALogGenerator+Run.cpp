#include "VORALogGenerator+Run.h"

VORALogGenerator::Run::Run(std::function<Clock::time_point()> now)
    : m_run(std::make_unique<GalleryRun>(std::move(now))),
      m_previous(std::exchange(VORAHostFlags::openRun, m_run.get()))
{
}

VORALogGenerator::Run::~Run()
{
    m_run->finish();
    VORAHostFlags::openRun = m_previous;
}

bool GalleryRun::hasFailed() const
{
    return m_links.gallery.hasFailed() || m_images.gallery.hasFailed() || m_statistics.gallery.hasFailed();
}

bool GalleryRun::isDue() const
{
    // So that writing takes at most a twentieth of the time of the run, however large the galleries are.
    constexpr int share = 20;
    return m_now() - m_lastEnd >= share * m_lastCost;
}

void GalleryRun::writeAll()
{
    m_lastCost = {};
    timed([this] {
        m_links.gallery.write();
        m_images.gallery.write();
        m_statistics.gallery.write();
    });
}
