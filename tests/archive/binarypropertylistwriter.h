#pragma once

#include "tests/archive/propertylistvalue.h"

#include <QtEndian>

#include <bit>

/// Writes a binary property list object by object, so that a test can share one object among many containers.
/// Offsets have four bytes each, and references unless less is asked for.
class BinaryPropertyListWriter {
public:
    using Index = quint32;

    explicit BinaryPropertyListWriter(int referenceSize = 4) : m_referenceSize(referenceSize) {}

    /// Adds an object's bytes as they are.
    Index raw(const QByteArray &object)
    {
        m_offsets.push_back(quint32(m_data.size()));
        m_data += object;
        return Index(m_offsets.size() - 1);
    }
    /// One more object that stands where @p other stands.
    Index sameBytesAs(Index other)
    {
        m_offsets.push_back(m_offsets[other]);
        return Index(m_offsets.size() - 1);
    }
    Index null() { return raw(QByteArray(1, '\0')); }
    Index boolean(bool value) { return raw(QByteArray(1, value ? '\x09' : '\x08')); }
    Index integer(qint64 value) { return raw('\x13' + bigEndian(quint64(value))); }
    Index real(double value) { return raw('\x23' + bigEndian(std::bit_cast<quint64>(value))); }
    Index date(double value) { return raw('\x33' + bigEndian(std::bit_cast<quint64>(value))); }
    Index data(const QByteArray &bytes) { return raw(marker(0x40, size_t(bytes.size())) + bytes); }
    /// @p characters should be ASCII; what is none is a malformed string to write.
    Index string(const QByteArray &characters)
    {
        return raw(marker(0x50, size_t(characters.size())) + characters);
    }
    Index utf16(const QString &text)
    {
        QByteArray object = marker(0x60, size_t(text.size()));
        for (const QChar unit : text)
            object += bigEndian(quint16(unit.unicode()));
        return raw(object);
    }
    Index uid(quint32 value) { return raw('\x83' + bigEndian(value)); }
    Index array(const std::vector<Index> &elements)
    {
        return raw(marker(0xA0, elements.size()) + references(elements));
    }
    /// Keys, then as many values.
    Index dictionary(const std::vector<Index> &keys, const std::vector<Index> &values)
    {
        return raw(marker(0xD0, keys.size()) + references(keys) + references(values));
    }
    /// Adds a value with all it holds.
    Index value(const PropertyListValue &value)
    {
        using Kind = PropertyListValue::Kind;
        switch (value.kind) {
        case Kind::Null: return null();
        case Kind::Boolean: return boolean(value.integer != 0);
        case Kind::Integer: return integer(value.integer);
        case Kind::Real: return real(value.real);
        case Kind::Date: return date(value.real);
        case Kind::Data: return data(value.bytes);
        case Kind::String: {
            const QString text = QString::fromUtf8(value.bytes);
            return text.size() == value.bytes.size() ? string(value.bytes) : utf16(text);
        }
        case Kind::Utf16String: return utf16(value.text);
        case Kind::Uid: return uid(quint32(value.integer));
        case Kind::Array:
        case Kind::Dictionary: break;
        }
        std::vector<Index> keys;
        std::vector<Index> values;
        for (size_t i = 0; i < value.children.size(); ++i) {
            const bool isKey = value.kind == Kind::Dictionary && i % 2 == 0;
            (isKey ? keys : values).push_back(this->value(value.children[i]));
        }
        return value.kind == Kind::Array ? array(values) : dictionary(keys, values);
    }

    [[nodiscard]] QByteArray finish(Index top)
    {
        const quint64 tableAt = quint64(m_data.size());
        for (const quint32 offset : m_offsets)
            m_data += bigEndian(offset);
        m_data += QByteArray(6, '\0') + '\x04' + char(m_referenceSize);
        m_data += bigEndian(quint64(m_offsets.size())) + bigEndian(quint64(top)) + bigEndian(tableAt);
        return m_data;
    }

private:
    template <class Number>
    static QByteArray bigEndian(Number number)
    {
        QByteArray bytes(sizeof(Number), Qt::Uninitialized);
        qToBigEndian(number, bytes.data());
        return bytes;
    }
    static QByteArray marker(int kind, size_t count)
    {
        if (count < 15)
            return QByteArray(1, char(kind | int(count)));
        return QByteArray(1, char(kind | 15)) + '\x12' + bigEndian(quint32(count));
    }
    [[nodiscard]] QByteArray references(const std::vector<Index> &indexes) const
    {
        QByteArray bytes;
        bytes.reserve(qsizetype(indexes.size()) * m_referenceSize);
        for (const Index index : indexes)
            bytes += bigEndian(index).last(m_referenceSize);
        return bytes;
    }

    int m_referenceSize;
    QByteArray m_data = "bplist00";
    std::vector<quint32> m_offsets;
};
