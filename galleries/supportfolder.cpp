#include "galleries/supportfolder.h"

#include "platform/files/files.h"

namespace galleries {

std::filesystem::path supportFolder()
{
    return platform::homeDirectory() / "Library" / "Prattlebug";
}

std::filesystem::path linkStorePath()
{
    return supportFolder() / "gatheredURLs.plist";
}

std::filesystem::path linkTemplatePath()
{
    return supportFolder() / linkTemplateName;
}

std::filesystem::path imageStorePath()
{
    return supportFolder() / "gatheredImages.plist";
}

std::filesystem::path imageTemplatePath()
{
    return supportFolder() / imageTemplateName;
}

std::filesystem::path imagesFolder()
{
    return supportFolder() / "Images";
}

std::filesystem::path topImagesFolder()
{
    return imagesFolder() / "topimages";
}

std::filesystem::path statisticsStorePath()
{
    return supportFolder() / "talkmeter.plist";
}

std::filesystem::path statisticsTemplatePath()
{
    return supportFolder() / statisticsTemplateName;
}

std::filesystem::path curseListPath()
{
    return supportFolder() / "curses.plist";
}

std::filesystem::path netspeakListPath()
{
    return supportFolder() / "netspeak.plist";
}

} // namespace galleries
