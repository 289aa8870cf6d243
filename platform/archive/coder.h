#pragma once

#include "platform/foundation/nsobject.h"
#include "platform/foundation/scalars.h"

#include <QByteArrayView>
#include <QtGlobal>

namespace platform {

/// @p object as a T; null for nil and for objects of other classes.
/// @throws LayoutError when it could not be read, for whoever cannot be read without it.
template <class T>
std::shared_ptr<const T> readable(const ObjectRef &object)
{
    if (const auto *unreadable = dynamic_cast<const UnreadableObject *>(object.get()))
        throw LayoutError(unreadable->fault());
    return std::dynamic_pointer_cast<const T>(object);
}

/// What an object that is being decoded reads its fields from: the two kinds of archive behind one face.
///
/// These are the platform's operations of the same names. An object asks allowsKeyedCoding() and then uses
/// the operations of that kind of archive only; an operation of the other kind throws std::logic_error. All
/// throw LayoutError when the object does not hold what is asked for, which makes that object unreadable, and
/// FormatError when nothing of the archive can be read any more.
class NSCoder {
public:
    virtual ~NSCoder() = default;

    /// True for a keyed archive, whose values stand under keys; false for a typed stream, where they stand in
    /// sequence.
    [[nodiscard]] virtual bool allowsKeyedCoding() const = 0;

    /// Sequential: the next value, which must be an object; null for nil.
    virtual ObjectRef decodeObject() = 0;
    /// Sequential: the next value, of an integer type, taken as @p type says ('I', an unsigned 32-bit
    /// integer, is the one that is asked for). 0 when the object has no further value, or one of another
    /// type.
    virtual void decodeValueOfObjCType(char type, quint32 &at) = 0;

    /// Keyed: the object under @p key of the current object; null for nil or when there is no such key.
    virtual ObjectRef decodeObjectForKey(QByteArrayView key) = 0;
    /// Keyed: the integer under @p key of the current object; 0 when there is no such key.
    virtual qint32 decodeInt32ForKey(QByteArrayView key) = 0;

    /// Charges the budget for what the object in the making is about to allocate.
    virtual void charge(quint64 count, quint64 size) = 0;
    /// Where the archive holds what is being read.
    [[nodiscard]] virtual qint64 offset() const = 0;
    /// Reports the object in the making as unreadable.
    [[noreturn]] void fail(const char *reason) const { throw LayoutError({offset(), reason}); }

    /// The object under a key, or next in sequence, when it is a T; null for nil, for objects of other
    /// classes and for unreadable ones.
    template <class T>
    std::shared_ptr<const T> decode()
    {
        return std::dynamic_pointer_cast<const T>(decodeObject());
    }
    template <class T>
    std::shared_ptr<const T> decodeForKey(QByteArrayView key)
    {
        return std::dynamic_pointer_cast<const T>(decodeObjectForKey(key));
    }

protected:
    NSCoder() = default;
    NSCoder(const NSCoder &) = default;
    NSCoder(NSCoder &&) = default;
    NSCoder &operator=(const NSCoder &) = default;
    NSCoder &operator=(NSCoder &&) = default;
};

} // namespace platform
