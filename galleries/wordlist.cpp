#include "galleries/wordlist.h"

#include "galleries/propertylistfile.h"

namespace galleries {

platform::StringSet readWordList(const std::filesystem::path &path)
{
    const platform::PropertyList list = readPropertyListFile(path);
    if (list.kind() != platform::PropertyListKind::Array)
        return {};
    platform::StringSet words;
    for (quint32 i = 0; i < list.count(); ++i) {
        const std::optional<QString> word = list.at(i).string();
        if (!word)
            return {};
        words.insert(*word);
    }
    return words;
}

} // namespace galleries
