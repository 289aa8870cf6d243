#pragma once

#include "platform/appkit/appkitclasses.h"
#include "platform/archive/nskeyedunarchiver.h"
#include "platform/archive/nsunarchiver.h"
#include "platform/foundation/collections.h"
#include "platform/text/encoding.h"

#include <string>

/// What came of decoding an archive.
struct Decoding {
    platform::ObjectRef root; ///< null for nil, and after an error
    std::string error;        ///< the reason, with the offset; empty when there is none

    /// The root in the platform's text form with its white space made single blanks, or "error: " and the
    /// reason.
    [[nodiscard]] std::string text() const
    {
        if (!error.empty())
            return "error: " + error;
        return platform::utf8FromString(platform::descriptionOf(root.get()).simplified()).toStdString();
    }
    template <class T>
    [[nodiscard]] std::shared_ptr<const T> rootAs() const
    {
        return std::dynamic_pointer_cast<const T>(root);
    }
};

inline const platform::ClassTable &allClasses()
{
    static const platform::ClassTable table = [] {
        platform::ClassTable classes;
        platform::addFoundationClasses(classes);
        platform::addAppKitClasses(classes);
        return classes;
    }();
    return table;
}

template <class Decode>
Decoding decoding(Decode decode)
{
    try {
        return {decode(), {}};
    } catch (const platform::FormatError &error) {
        return {nullptr, error.description()};
    }
}

/// The first object of a typed stream.
inline Decoding decodeStream(const QByteArray &stream)
{
    return decoding(
        [&] { return platform::NSUnarchiver::initForReadingWithData(stream, allClasses())->decodeObject(); });
}

/// The object under "root" of a keyed archive.
inline Decoding decodeKeyed(const QByteArray &archive)
{
    return decoding([&] {
        return platform::NSKeyedUnarchiver::initForReadingWithData(archive, allClasses())
            ->decodeObjectForKey("root");
    });
}

/// The element of an array that was decoded.
inline platform::ObjectRef elementOf(const platform::ObjectRef &array, size_t position)
{
    return dynamic_cast<const platform::NSArray &>(*array).objects().at(position);
}
template <class T>
std::shared_ptr<const T> elementOf(const platform::ObjectRef &array, size_t position)
{
    return std::dynamic_pointer_cast<const T>(elementOf(array, position));
}
