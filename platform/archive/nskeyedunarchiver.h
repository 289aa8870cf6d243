#pragma once

#include "platform/archive/classtable.h"
#include "platform/archive/coder.h"
#include "platform/archive/decodedobjects.h"
#include "platform/decodingbudget.h"
#include "platform/propertylist/propertylist.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>

#include <memory>
#include <optional>
#include <vector>

namespace platform {

/// Reads keyed archives: property lists, binary or XML, whose "$objects" array is a table of objects that
/// name each other by index (UID).
///
/// Objects are made when they are asked for, each once. The operations read from the object that is being
/// made; outside of any object, from the archive's "$top". Keys that the object's class does not ask for are
/// not looked at.
///
/// All operations throw FormatError when the archive is malformed, holds an object that contains itself, or
/// would take more memory than a file of its size may; after that the unarchiver is of no further use. An
/// object that is not laid out as its class is becomes an UnreadableObject, and the rest is read.
class NSKeyedUnarchiver final : public NSCoder {
public:
    /// Opens an unarchiver over a whole file, which must be smaller than 2 GiB.
    /// @param classes what it can make; lent, and must outlive it.
    [[nodiscard]] static std::unique_ptr<NSKeyedUnarchiver> initForReadingWithData(const QByteArray &data,
                                                                                   const ClassTable &classes);

    /// Whether @p bytes begin as a property list does, which every keyed archive is.
    [[nodiscard]] static bool looksLikePropertyList(QByteArrayView bytes);

    /// From now on, objects archived under @p forClassName are made by @p makers.
    void setClass(const ClassMakers &makers, const QByteArray &forClassName);

    [[nodiscard]] bool allowsKeyedCoding() const override { return true; }
    ObjectRef decodeObject() override;
    void decodeValueOfObjCType(char type, quint32 &at) override;
    ObjectRef decodeObjectForKey(QByteArrayView key) override;
    qint32 decodeInt32ForKey(QByteArrayView key) override;

    /// The number under @p key, nothing when there is none. A real is cut towards zero.
    [[nodiscard]] std::optional<qint64> decodeInt64ForKey(QByteArrayView key) const;
    [[nodiscard]] std::optional<double> decodeDoubleForKey(QByteArrayView key) const;
    /// The bytes under @p key, which may stand there themselves or be an object (NSData, or a string in
    /// UTF-8); nothing when there are none.
    [[nodiscard]] std::optional<QByteArray> decodeBytesForKey(QByteArrayView key);
    /// The objects that the array of references under @p key names; empty when there is no such key.
    [[nodiscard]] std::vector<ObjectRef> decodeArrayOfObjectsForKey(QByteArrayView key);

    void charge(quint64 count, quint64 size) override { m_budget.charge(count, size, offset()); }
    [[nodiscard]] qint64 offset() const override { return m_table->offset(m_current); }

private:
    using Node = PropertyListTable::Index;

    /// What is known of a class from its record.
    struct KnownClass {
        const ClassMakers *makers = nullptr; ///< null when nobody knows it or any of its superclasses
        QString name{};                      ///< empty when the record has none, or a very long one
    };

    NSKeyedUnarchiver(const QByteArray &data, const ClassTable &classes);

    /// The object that a value names: a UID (in the XML form a dictionary with the one key CF$UID), or a
    /// plain value.
    [[nodiscard]] ObjectRef objectFor(Node value);
    /// The index that a value is as a UID.
    [[nodiscard]] std::optional<qint64> uid(Node value) const;
    /// The node of a UID's object; nothing for UID 0, which is nil.
    [[nodiscard]] std::optional<Node> nodeOf(qint64 uid, Node value) const;
    [[nodiscard]] ObjectRef make(Node node);
    [[nodiscard]] ObjectRef makeContents(Node node);
    [[nodiscard]] ObjectRef makeInstance(Node node);
    /// The record of an object's class; nothing when it has none.
    [[nodiscard]] std::optional<Node> classRecord(Node object) const;
    /// What a place-holder for an object gets for its class's name.
    [[nodiscard]] QString archivedName(Node object);
    [[nodiscard]] const KnownClass &knownClass(Node classRecord);
    [[nodiscard]] const ClassMakers *makersNamed(const QByteArray &name) const;

    const ClassTable &m_classes;
    DecodingBudget m_budget;
    std::shared_ptr<const PropertyListTable> m_table;
    Node m_objectTable = 0;
    Node m_current = 0; ///< the dictionary that keys are looked up in
    DecodedObjects m_objects;
    QHash<QByteArray, ClassMakers> m_substitutes;
    QHash<Node, KnownClass> m_knownClasses;
};

} // namespace platform
