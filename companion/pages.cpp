#include "companion/commands.h"
#include "companion/console.h"

#include "VORALogGenerator.h"

#include "galleries/imagestore.h"
#include "galleries/linkstore.h"
#include "galleries/propertylistfile.h"
#include "galleries/statisticspage.h"
#include "galleries/supportfolder.h"

#include "platform/files/files.h"

#include <functional>

namespace companion {

namespace {

/// A store and the pages made from it.
struct Gallery {
    std::filesystem::path store;
    bool isStoreReadable;
    std::filesystem::path pageTemplate;
    std::filesystem::path page; ///< the one with everybody's
    std::function<void()> generate;
};

void printFailure(const std::filesystem::path &path, const char *reason)
{
    printError({.path = path, .reason = reason});
}

/// @return whether the gallery's pages have been made.
bool makePages(const Gallery &gallery)
{
    if (!platform::fileExists(gallery.pageTemplate)) {
        printFailure(gallery.pageTemplate, "no such template; prattlebug setup puts one in place");
        return false;
    }
    // Pages of a store that cannot be read would be those of an empty one.
    if (!gallery.isStoreReadable) {
        printFailure(gallery.store, "cannot be read as such a store; its pages stay as they are");
        return false;
    }
    const auto before = platform::fileIdentity(gallery.page);
    gallery.generate();
    const auto after = platform::fileIdentity(gallery.page);
    if (!after || after == before) {
        printFailure(gallery.page, "could not be written");
        return false;
    }
    if (verbosity() != Verbosity::Quiet)
        printLine(QByteArrayView(gallery.page.native()));
    return true;
}

int pages()
{
    const std::filesystem::path folder = galleries::supportFolder();
    const std::filesystem::path linkStore = galleries::linkStorePath();
    const std::filesystem::path imageStore = galleries::imageStorePath();
    const bool links = makePages({linkStore, galleries::LinkStore::load(linkStore).has_value(),
                                  galleries::linkTemplatePath(), folder / "Links.html",
                                  [] { VORALogGenerator::GenerateLinkFiles(nullptr); }});
    const bool images = makePages({imageStore, galleries::ImageStore::load(imageStore).has_value(),
                                   galleries::imageTemplatePath(), folder / "Images.html",
                                   [] { VORALogGenerator::GenerateImageFiles(nullptr); }});
    const std::filesystem::path statistics = galleries::statisticsStorePath();
    const bool isReadable =
        !platform::fileExists(statistics) ||
        galleries::readPropertyListFile(statistics).kind() == platform::PropertyListKind::Dictionary;
    const bool counts = makePages(
        {statistics, isReadable, galleries::statisticsTemplatePath(), folder / "stats.html",
         [&statistics] { galleries::writeStatisticsPage(galleries::Statistics::load(statistics)); }});
    return links && images && counts ? exitDone : exitFailed;
}

} // namespace

void addPagesCommand(CLI::App &commands, Action &action)
{
    CLI::App *command =
        commands.add_subcommand("pages", "Make the pages of links, images and statistics again, for example "
                                         "after a template was changed");
    command->footer(
        "Example: prattlebug pages\n"
        "Exit code: 1 when a template is missing, a store cannot be read, or a page cannot be written.");
    command->callback([&action] { action = pages; });
}

} // namespace companion
