#include "galleries/pagefile.h"

#include "galleries/supportfolder.h"

#include "platform/files/files.h"
#include "platform/log/nslog.h"

namespace galleries {

void writePage(const FileName &name, const QByteArray &page)
{
    if (page.isNull()) {
        platform::NSLog(
            QStringLiteral("The page %1 would be too large and has not been written.").arg(name.text()));
        return;
    }
    static_cast<void>(platform::writeAtomically(supportFolder() / platform::pathFromString(name.text()), page,
                                                {.durability = platform::Durability::Unsynced}));
}

} // namespace galleries
