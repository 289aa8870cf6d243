#pragma once

#include <QByteArray>

#include <vector>

/// A binary property list made object by object, as wrong as a test wants it.
struct BinaryList {
    /// Marker and contents of each; one without bytes stands where the object before it stands.
    std::vector<QByteArray> objects;
    quint64 top = 0;
    int offsetSize = 2;
    int referenceSize = 1;

    [[nodiscard]] QByteArray bytes() const;
};

/// @p value in @p size bytes, most significant first.
[[nodiscard]] QByteArray bigEndianBytes(quint64 value, int size);

/// What the hexadecimal digits in @p digits spell, blanks between them.
[[nodiscard]] QByteArray hex(const char *digits);
