#pragma once

#include "platform/archive/classtable.h"
#include "platform/foundation/nsobject.h"

#include <QByteArray>

#include <string>

[[nodiscard]] const platform::ClassTable &allClasses();

/// What came of decoding an archive.
struct Decoding {
    platform::ObjectRef root; ///< null for nil, and after an error
    std::string error{};      ///< the reason, without the offset
    qint64 offset = -1;       ///< of the error

    /// The root on one line, or "error: " and the reason:
    ///
    ///     nil  text  5  @0.5  <00ff>  url:x  (1 2)  {1 2}  [a=1 b=2]     what archives hold everywhere
    ///     text|2:[a=1] 3:-               a text, and its runs with their attributes
    ///     rgb:0.5,0,1  rgb:-  font:Monaco,9.5  attached:nil
    ///     file:name=bytes  folder:name(a=bytes b(c=bytes))
    ///     ?Class  !Class: reason         an object that is unknown, or unreadable
    [[nodiscard]] std::string text() const;
};

/// The first object of a typed stream.
[[nodiscard]] Decoding decodeStream(const QByteArray &stream);
/// The object under "root" of a keyed archive.
[[nodiscard]] Decoding decodeKeyed(const QByteArray &archive);

/// The element of an array that was decoded.
[[nodiscard]] platform::ObjectRef elementOf(const platform::ObjectRef &array, size_t position);
