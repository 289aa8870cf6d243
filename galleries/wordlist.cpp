#include "galleries/wordlist.h"

#include "galleries/propertylistfile.h"

namespace galleries {

namespace {

platform::StringSet wordsOf(const platform::PropertyList &list)
{
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

} // namespace

const platform::StringSet &WordList::read(const std::filesystem::path &path)
{
    if (!m_file.hasChanged(path))
        return m_words;
    try {
        const platform::PropertyList list = readPropertyListFile(path);
        if (list.kind() == platform::PropertyListKind::Null)
            m_file.forget();
        m_words = wordsOf(list);
    } catch (...) {
        m_file.forget(); // there may be enough memory next time
        throw;
    }
    return m_words;
}

} // namespace galleries
