#include "galleries/supportfolder.h"

#include "platform/files/supportfolder.h"

#include <string>

namespace galleries {

namespace {

/// In one piece, as the folder is.
std::filesystem::path inSupportFolder(const std::string &name)
{
    return supportFolder().native() + '/' + name;
}

} // namespace

std::filesystem::path supportFolder()
{
    return platform::supportFolder();
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
