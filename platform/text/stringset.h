#pragma once

#include <QHash>
#include <QString>
#include <QStringView>

#include <bitset>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <unordered_set>

namespace platform {

/// A set of strings. Equal is what has the same UTF-16 units: neither letter case nor composed characters are
/// evened out. Made to be asked mostly for what is not in it.
class StringSet {
public:
    StringSet() = default;
    StringSet(std::initializer_list<QString> strings)
    {
        for (const QString &string : strings)
            insert(string);
    }

    void insert(const QString &string)
    {
        m_traits.set(trait(string));
        m_strings.insert(string);
    }
    [[nodiscard]] bool contains(QStringView string) const
    {
        return m_traits.test(trait(string)) && m_strings.contains(string);
    }

private:
    struct Hash {
        using is_transparent = void; // lets a view be looked up without a copy

        [[nodiscard]] std::size_t operator()(QStringView text) const noexcept
        {
            return qHash(text, QHashSeed::globalSeed());
        }
    };

    static constexpr int traitBits = 14;
    /// Something that is seen at a glance, and that few strings have in common: length, first, middle and
    /// last unit, mixed by Fibonacci hashing.
    static std::size_t trait(QStringView string)
    {
        if (string.isEmpty())
            return 0;
        const qsizetype size = string.size();
        const quint64 units = quint64(string.front().unicode()) | quint64(string[size / 2].unicode()) << 16 |
                              quint64(string.back().unicode()) << 32 | quint64(size) << 48;
        return std::size_t((units * 0x9E3779B97F4A7C15U) >> (64 - traitBits));
    }

    std::bitset<std::size_t(1) << traitBits> m_traits; // of the strings in the set
    std::unordered_set<QString, Hash, std::equal_to<>> m_strings;
};

} // namespace platform
