#include "galleries/supportfolder.h"

#include "platform/files/files.h"

#include <string>

namespace galleries {

namespace {

/// In one piece: a path is taken apart anew with each part that is joined to it, and these are asked for with
/// every chat.
std::filesystem::path inSupportFolder(const std::string &name)
{
    return platform::homeDirectory().native() + "/Library/Prattlebug/" + name;
}

} // namespace

std::filesystem::path supportFolder()
{
    return platform::homeDirectory() / "Library" / "Prattlebug";
}

std::filesystem::path linkStorePath()
{
    return inSupportFolder("gatheredURLs.plist");
}

std::filesystem::path linkTemplatePath()
{
    return inSupportFolder(linkTemplateName);
}

std::filesystem::path imageStorePath()
{
    return inSupportFolder("gatheredImages.plist");
}

std::filesystem::path imageTemplatePath()
{
    return inSupportFolder(imageTemplateName);
}

std::filesystem::path imagesFolder()
{
    return inSupportFolder("Images");
}

std::filesystem::path topImagesFolder()
{
    return imagesFolder() / "topimages";
}

std::filesystem::path statisticsStorePath()
{
    return inSupportFolder("talkmeter.plist");
}

std::filesystem::path statisticsTemplatePath()
{
    return inSupportFolder(statisticsTemplateName);
}

std::filesystem::path curseListPath()
{
    return inSupportFolder("curses.plist");
}

std::filesystem::path netspeakListPath()
{
    return inSupportFolder("netspeak.plist");
}

} // namespace galleries
