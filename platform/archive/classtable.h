#pragma once

#include "platform/foundation/nsobject.h"

#include <QByteArray>
#include <QHash>

namespace platform {

class NSUnarchiver;
class NSKeyedUnarchiver;

/// How objects of one class are made from either kind of archive. Null as a result is nil.
struct ClassMakers {
    ObjectRef (*fromStream)(NSUnarchiver &coder) = nullptr;
    ObjectRef (*fromKeys)(NSKeyedUnarchiver &coder) = nullptr;
};

/// The makers of a class whose `static initWithCoder(NSCoder &)` reads both kinds of archive and returns a
/// pointer.
template <class T>
ClassMakers makersOf()
{
    return {[](NSUnarchiver &coder) { return ObjectRef(T::initWithCoder(coder)); },
            [](NSKeyedUnarchiver &coder) { return ObjectRef(T::initWithCoder(coder)); }};
}

/// The classes that an unarchiver can make, by name. Whoever opens an unarchiver fills it; nothing registers
/// itself. An object of a class that is not in it, nor any of its superclasses, decodes as an UnknownObject.
using ClassTable = QHash<QByteArray, ClassMakers>;

/// Adds the standard classes: strings, dates, arrays, dictionaries, sets, data, numbers, null, URLs,
/// attributed strings.
void addFoundationClasses(ClassTable &table);

} // namespace platform
