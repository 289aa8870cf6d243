#include "platform/files/supportfolder.h"

#include "platform/files/files.h"

namespace platform {

std::filesystem::path supportFolder()
{
    // In one piece: a path is taken apart anew with each part that is joined to it, and this one is asked for
    // with every chat.
    return homeDirectory().native() + "/Library/Prattlebug";
}

} // namespace platform
