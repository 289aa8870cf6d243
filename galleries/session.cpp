#include "galleries/session.h"

#include "galleries/imagepages.h"
#include "galleries/linkpages.h"
#include "galleries/statisticspage.h"
#include "galleries/supportfolder.h"
#include "galleries/topimages.h"

namespace galleries {

namespace {

Session *theOpenSession = nullptr;

void report(Reporter &reporter, const platform::Failure &failure)
{
    if (failure.kind == platform::FailureKind::TooLarge)
        reporter.linkStoreTooLarge();
    else
        reporter.linkStoreNotWritten(failure.path);
}

} // namespace

Session::Session(Reporter &reporter, const MonthOrders &orders, WriteSchedule schedule)
    : m_reporter(reporter),
      m_links({.path = linkStorePath,
               .writePages = [order = orders.links](const LinkStore &store) { writeLinkPages(store, order); },
               .pagesNeedTheFile = true,
               .failed = [&reporter](const platform::Failure &failure) { report(reporter, failure); }}),
      m_images({.path = imageStorePath,
                .writePages =
                    [order = orders.images](const ImageStore &store) {
                        writeImagePages(store, order);
                        refreshTopImages(store);
                    }}),
      m_statistics({.path = statisticsStorePath, .writePages = writeStatisticsPage}),
      m_schedule(std::move(schedule)), m_previous(std::exchange(theOpenSession, this))
{
}

Session::~Session()
{
    const auto write = [](auto &gallery) {
        try {
            gallery.write();
        } catch (const std::bad_alloc &) {
            platform::NSLog(
                u"There is not enough memory to write a gallery; the last chats are missing from it.");
        }
    };
    write(m_links);
    write(m_images);
    write(m_statistics);
    theOpenSession = m_previous;
}

Session *Session::open()
{
    return theOpenSession;
}

void Session::addLinks(LinkStore::Contribution links)
{
    if (m_links.refresh())
        m_links.fold(std::move(links));
    else
        m_reporter.linkStoreNotWritten(linkStorePath());
    write(m_links);
}

void Session::addFiles(ImageStore::Contribution files)
{
    if (m_images.refresh())
        m_images.fold(std::move(files));
    else
        m_images.requestPages();
    write(m_images);
}

void Session::addStatistics(const ChatStatistics &chat)
{
    m_statistics.refresh(); // which any file can be
    m_statistics.fold(chat);
    write(m_statistics);
}

void Session::makeLinkPages()
{
    m_links.refresh();
    m_links.requestPages();
    write(m_links, Urgency::AtOnce);
}

void Session::makeImagePages()
{
    m_images.refresh();
    m_images.requestPages();
    write(m_images, Urgency::AtOnce);
}

void Session::keepChat()
{
    const auto before = std::exchange(m_beforeChat, std::nullopt);
    try {
        write(m_links);
        write(m_images);
        write(m_statistics);
    } catch (...) {
        if (before)
            takeBack(*before);
        throw;
    }
}

void Session::takeBackChat()
{
    if (const auto before = std::exchange(m_beforeChat, std::nullopt))
        takeBack(*before);
}

void Session::takeBack(const Marks &marks)
{
    m_links.takeBack(marks.links);
    m_images.takeBack(marks.images);
    m_statistics.takeBack(marks.statistics);
}

template <class Store>
void Session::write(Gallery<Store> &gallery, Urgency urgency)
{
    if (m_beforeChat && urgency == Urgency::CanWait)
        return;
    const bool hasFailed = m_links.hasFailed() || m_images.hasFailed() || m_statistics.hasFailed();
    if (urgency == Urgency::AtOnce || !gallery.wasWritten() || hasFailed)
        m_schedule.writeOne([&gallery] { gallery.write(); });
    else if (m_schedule.isDue())
        writeAll();
}

void Session::writeAll()
{
    m_schedule.writeAll([this] {
        m_links.write();
        m_images.write();
        m_statistics.write();
    });
}

} // namespace galleries
