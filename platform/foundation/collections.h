#pragma once

#include "platform/foundation/nsobject.h"

#include <QString>
#include <QStringView>

#include <vector>

namespace platform {

/// An ordered list of objects; an element may be null, where the archive holds nil.
class NSArray final : public NSObject {
public:
    explicit NSArray(std::vector<ObjectRef> objects) : m_objects(std::move(objects)) {}

    [[nodiscard]] const std::vector<ObjectRef> &objects() const { return m_objects; }
    [[nodiscard]] QString className() const override { return QStringLiteral("NSArray"); }
    /// The platform's old text form, see descriptionOf().
    [[nodiscard]] QString description() const override;

private:
    std::vector<ObjectRef> m_objects;
};

/// An unordered collection, in the order in which the archive lists it.
class NSSet final : public NSObject {
public:
    explicit NSSet(std::vector<ObjectRef> objects) : m_objects(std::move(objects)) {}

    [[nodiscard]] const std::vector<ObjectRef> &objects() const { return m_objects; }
    [[nodiscard]] QString className() const override { return QStringLiteral("NSSet"); }
    [[nodiscard]] QString description() const override;

private:
    std::vector<ObjectRef> m_objects;
};

/// A map from text to objects. Pairs whose key is no string, or one longer than any that is asked for here,
/// are not kept.
class NSDictionary final : public NSObject {
public:
    /// The longest key of a decoded dictionary, in UTF-16 units. Keys are sorted, which must not take long
    /// even if very many of them begin alike.
    static constexpr qsizetype longestKey = 1024;

    struct Entry {
        QString key;
        ObjectRef value; ///< null where the archive holds nil
    };

    /// @param entries in any order; of several with one key the last one counts.
    /// @param hasForeignKeys whether pairs were left out for their keys.
    explicit NSDictionary(std::vector<Entry> entries, bool hasForeignKeys = false);

    /// The entries in the order of their keys' UTF-16 code units, each key once.
    [[nodiscard]] const std::vector<Entry> &entries() const { return m_entries; }
    [[nodiscard]] bool hasForeignKeys() const { return m_hasForeignKeys; }
    /// The value under @p key, or null. Logarithmic in the number of entries.
    [[nodiscard]] ObjectRef objectForKey(QStringView key) const;

    [[nodiscard]] QString className() const override { return QStringLiteral("NSDictionary"); }
    [[nodiscard]] QString description() const override;

private:
    std::vector<Entry> m_entries;
    bool m_hasForeignKeys;
};

/// How much text a description gives at most, in UTF-16 units; what is beyond is left out and an ellipsis
/// stands for it (a few objects that name each other many times could fill any memory).
inline constexpr qsizetype longestDescription = 32 << 20;

/// @p object in the platform's old text form: arrays as
///
///     (
///         first,
///         (
///             nested
///         )
///     )
///
/// (an opening parenthesis, one element a line indented by four blanks, commas between, a closing
/// parenthesis), dictionaries likewise in braces as `key = value;`, anything else as its description, between
/// double quotes with escapes when it holds more than ASCII letters, digits and a few marks. Null is
/// "(null)".
[[nodiscard]] QString descriptionOf(const NSObject *object);

} // namespace platform
