#pragma once

#include <QHash>
#include <QString>
#include <QStringView>

#include <cstddef>
#include <functional>
#include <unordered_set>

namespace platform {

struct StringHash {
    using is_transparent = void; // lets a view be looked up without a copy

    [[nodiscard]] std::size_t operator()(QStringView text) const noexcept
    {
        return qHash(text, QHashSeed::globalSeed());
    }
};

/// A set of strings. Equal is what has the same UTF-16 units: neither letter case nor composed characters are
/// evened out.
using StringSet = std::unordered_set<QString, StringHash, std::equal_to<>>;

} // namespace platform
