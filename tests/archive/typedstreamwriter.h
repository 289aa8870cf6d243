#pragma once

#include <QByteArray>
#include <QtEndian>

#include <bit>
#include <cmath>
#include <initializer_list>
#include <map>

/// Writes a typed stream step by step, so that a test can also put together one that no archiver would write.
///
/// Strings and classes are shared as archivers share them; every step below that is public too. Numbers are
/// those that a reader gives: objects, classes and C strings in one table, from 0.
class TypedStreamWriter {
public:
    enum class ByteOrder { Little, Big };
    /// Class names from the class up to its root.
    using Chain = std::initializer_list<const char *>;

    explicit TypedStreamWriter(ByteOrder order = ByteOrder::Little) : m_order(order)
    {
        byte(4);
        unsharedString(order == ByteOrder::Little ? "streamtyped" : "typedstream");
        integer(1000);
    }

    [[nodiscard]] const QByteArray &data() const { return m_data; }
    [[nodiscard]] int objectCount() const { return m_objects; }

    // Bytes, numbers, tags

    void raw(const QByteArray &bytes) { m_data += bytes; }
    void byte(int value) { m_data += char(value); }
    /// In the shortest form.
    void integer(qint64 value)
    {
        if (value >= -110 && value <= 127)
            byte(int(value));
        else
            integer(value, value >= -0x8000 && value <= 0x7FFF ? 2 : 4);
    }
    /// In the form of @p width bytes behind a tag, or of one without; the higher bits are dropped.
    void integer(qint64 value, int width)
    {
        if (width > 1)
            byte(width == 2 ? -127 : -126);
        fixed(quint64(value), width);
    }
    /// As archivers write it: an integer where it is one.
    void real(double value, int width)
    {
        if (value == std::floor(value) && std::fabs(value) < 0x80000000U)
            integer(qint64(value));
        else
            taggedReal(value, width);
    }
    void taggedReal(double value, int width)
    {
        byte(-125);
        fixed(width == 4 ? std::bit_cast<quint32>(float(value)) : std::bit_cast<quint64>(value), width);
    }
    void newTag() { byte(-124); }
    void nil() { byte(-123); }
    void endObject() { byte(-122); }
    /// Names number @p number of the string table or the object table, whichever stands here.
    void reference(qint64 number) { integer(number - 110); }

    // Strings

    void unsharedString(const QByteArray &text)
    {
        integer(text.size());
        raw(text);
    }
    void sharedString(const QByteArray &text)
    {
        if (const auto known = m_strings.find(text); known != m_strings.end())
            return reference(known->second);
        m_strings.emplace(text, m_stringCount);
        literalString(text);
    }
    /// As a new string, known already or not.
    void literalString(const QByteArray &text)
    {
        newTag();
        unsharedString(text);
        ++m_stringCount;
    }
    void cString(const QByteArray &text)
    {
        newTag();
        ++m_objects;
        sharedString(text);
    }

    // Groups and objects

    /// Begins a group: the values that it announces have to follow.
    void types(const QByteArray &encoding) { sharedString(encoding); }
    void objectReference(int number)
    {
        types("@");
        reference(number);
    }
    void nilObject()
    {
        types("@");
        nil();
    }
    /// Begins a value of type "@" whose class has to follow. @return the object's number.
    int newObject()
    {
        newTag();
        return m_objects++;
    }
    /// The same with its class.
    int beginObject(Chain chain)
    {
        const int number = newObject();
        classChain(chain);
        return number;
    }
    void classChain(Chain chain)
    {
        for (const char *name : chain) {
            if (const auto known = m_classes.find(name); known != m_classes.end())
                return reference(known->second);
            m_classes.emplace(name, m_objects);
            literalClass(name);
        }
        nil();
    }
    /// A class, without what it inherits from.
    void literalClass(const QByteArray &name)
    {
        newTag();
        ++m_objects;
        sharedString(name);
        integer(1);
    }

    // Groups of one whole object

    int string(const QByteArray &text)
    {
        types("@");
        const int number = beginObject({"NSString", "NSObject"});
        types("+");
        unsharedString(text);
        endObject();
        return number;
    }
    int dataObject(const QByteArray &bytes)
    {
        types("@");
        const int number = beginObject({"NSData", "NSObject"});
        types("i");
        integer(bytes.size());
        types('[' + QByteArray::number(bytes.size()) + "c]");
        raw(bytes);
        endObject();
        return number;
    }
    /// Begins an array, whose elements have to follow as groups "@", and then endObject().
    int beginArray(qint64 count)
    {
        types("@");
        const int number = beginObject({"NSArray", "NSObject"});
        types("i");
        integer(count);
        return number;
    }
    /// Begins a dictionary; keys and values by turns have to follow, and then endObject().
    int beginDictionary(qint64 count)
    {
        types("@");
        const int number = beginObject({"NSDictionary", "NSObject"});
        types("i");
        integer(count);
        return number;
    }

private:
    void fixed(quint64 value, int width)
    {
        for (int i = 0; i < width; ++i)
            byte(int(value >> 8U * unsigned(m_order == ByteOrder::Little ? i : width - 1 - i) & 0xFFU));
    }

    ByteOrder m_order;
    QByteArray m_data;
    int m_stringCount = 0;
    int m_objects = 0;
    std::map<QByteArray, int> m_strings;
    std::map<QByteArray, int> m_classes;
};
