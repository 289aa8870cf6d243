#include "tests/archive/notation.h"

#include "tests/support/binarylist.h"

#include <QByteArrayList>

#include <bit>
#include <cmath>
#include <map>
#include <vector>

namespace {

/// Takes tokens off a notation.
class Source {
public:
    explicit Source(const QByteArray &text) : m_text(text) {}

    /// The next character that is no blank, NUL at the end.
    char peek()
    {
        while (m_at < m_text.size() && (m_text[m_at] == ' ' || m_text[m_at] == '\n'))
            ++m_at;
        return m_at < m_text.size() ? m_text[m_at] : '\0';
    }
    void skip() { ++m_at; }
    bool skip(char c)
    {
        const bool is = peek() == c;
        m_at += is ? 1 : 0;
        return is;
    }
    /// All up to one of these characters.
    QByteArray until(const char *ends)
    {
        const qsizetype start = m_at;
        while (m_at < m_text.size() && !QByteArrayView(ends).contains(m_text[m_at]))
            ++m_at;
        return m_text.sliced(start, m_at - start);
    }
    /// A text behind an opening quote.
    QByteArray quoted()
    {
        QByteArray text = until("\"");
        skip();
        return text;
    }

private:
    const QByteArray &m_text;
    qsizetype m_at = 0;
};

class StreamWriter {
public:
    StreamWriter(const QByteArray &notation, ByteOrder order) : m_source(notation), m_order(order) {}

    QByteArray write()
    {
        byte(4);
        unsharedString(m_order == ByteOrder::Little ? "streamtyped" : "typedstream");
        integer(1000);
        while (const char first = m_source.peek())
            token(first);
        return m_data;
    }

private:
    void token(char first)
    {
        if ((first >= '0' && first <= '9') || first == '-')
            return number();
        m_source.skip();
        switch (first) {
        case ':': return sharedString(m_source.until(" \n"));
        case '~': return byte(nil);
        case '}': return byte(-122);
        case '{': return object();
        case '#': return reference(m_source.until(" \n"));
        case '"': return unsharedString(m_source.quoted());
        case 'c': return classChain(m_source.until(" \n"));
        case 'x': m_data += QByteArray::fromHex(m_source.until(" \n")); return;
        case 'r': return byte(m_source.until(" \n").toInt());
        case 'f': return real(std::bit_cast<quint32>(m_source.until(" \n").toFloat()), 4);
        case 'd': return real(std::bit_cast<quint64>(m_source.until(" \n").toDouble()), 8);
        default: break;
        }
        m_source.skip(); // the quote
        const QByteArray text = m_source.quoted();
        switch (first) {
        case '*':
            byte(newTag);
            ++m_objects;
            return sharedString(text);
        case 's': return sharedString(text);
        case 'S': return newString(text);
        case 'C': return newClass(text);
        default: qFatal("no token: %c", first);
        }
    }

    void number()
    {
        QByteArray digits = m_source.until(" \n");
        const char last = digits.back();
        if (last >= '0' && last <= '9')
            return integer(digits.toLongLong());
        digits.chop(1);
        bool isSigned = false;
        const auto value = quint64(digits.toLongLong(&isSigned));
        integerOf(last == 'h' ? 2 : last == 'w' ? 4 : 8, isSigned ? value : digits.toULongLong());
    }
    void integer(qint64 value)
    {
        if (value >= -110 && value <= 127)
            byte(int(value));
        else
            integerOf(value >= -0x8000 && value <= 0x7FFF ? 2 : 4, quint64(value));
    }
    void integerOf(int width, quint64 value)
    {
        byte(width == 2 ? -127 : width == 4 ? -126 : -121);
        fixed(value, width);
    }
    void real(quint64 bits, int width)
    {
        byte(-125);
        fixed(bits, width);
    }
    void fixed(quint64 value, int width)
    {
        for (int i = 0; i < width; ++i)
            byte(int(value >> 8U * unsigned(m_order == ByteOrder::Little ? i : width - 1 - i) & 0xFFU));
    }
    void byte(int value) { m_data += char(value); }

    void unsharedString(const QByteArray &text)
    {
        integer(text.size());
        m_data += text;
    }
    void sharedString(const QByteArray &text)
    {
        if (const auto known = m_strings.find(text); known != m_strings.end())
            return integer(known->second - 110);
        m_strings.emplace(text, m_stringCount);
        newString(text);
    }
    void newString(const QByteArray &text)
    {
        byte(newTag);
        unsharedString(text);
        ++m_stringCount;
    }
    void object()
    {
        byte(newTag);
        const QByteArray name = m_source.until(" \n");
        const qsizetype label = name.indexOf('=');
        if (label >= 0)
            m_labels[name.sliced(label + 1)] = m_objects;
        ++m_objects;
        if (!name.isEmpty())
            classChain(name.first(label >= 0 ? label : name.size()));
    }
    void classChain(const QByteArray &names)
    {
        const QByteArray whole = names.contains('/') ? names : names + "/NSObject";
        for (const QByteArray &name : whole.split('/')) {
            if (name.isEmpty())
                break;
            if (const auto known = m_classes.find(name); known != m_classes.end())
                return integer(known->second - 110);
            m_classes.emplace(name, m_objects);
            newClass(name);
        }
        byte(nil);
    }
    void newClass(const QByteArray &name)
    {
        byte(newTag);
        ++m_objects;
        sharedString(name);
        integer(1);
    }
    void reference(const QByteArray &name)
    {
        bool isNumber = false;
        const int number = name.toInt(&isNumber);
        integer((isNumber ? number : m_labels.at(name)) - 110LL);
    }

    static constexpr int newTag = -124;
    static constexpr int nil = -123;

    Source m_source;
    ByteOrder m_order;
    QByteArray m_data;
    int m_stringCount = 0;
    int m_objects = 0;
    std::map<QByteArray, int> m_strings;
    std::map<QByteArray, int> m_classes;
    std::map<QByteArray, int> m_labels;
};

struct Value {
    char kind; ///< the first character of its notation
    QByteArray text{};
    std::vector<Value> children{}; ///< of a dictionary or object: strings and values by turns
};

class KeyedWriter {
public:
    explicit KeyedWriter(const QByteArray &notation) : m_source(notation)
    {
        m_objects.push_back({'"', "$null"});
        while (m_source.peek() != '\0') {
            if (m_source.skip('^'))
                m_objects.resize(m_objects.size() + m_source.until(" \n").toULongLong(), {'^'});
            else
                m_objects.push_back(object());
        }
        for (const auto &[names, record] : m_classes)
            m_labels["class " + names] = int(m_objects.size() + size_t(record));
        m_objects.insert(m_objects.end(), m_records.begin(), m_records.end());
    }

    QByteArray binary()
    {
        BinaryList list{{}, 0, 4, 4};
        std::vector<quint32> table;
        for (const Value &object : m_objects)
            table.push_back(add(list, object));
        list.top = add(list, {'[', {}, {{'"', "$top"}, {'[', {}, {{'"', "root"}, {'#', "1"}}}}});
        // The table itself stands in the list as one more object, and is the second member.
        const quint32 objects = quint32(list.objects.size());
        list.objects.push_back(marker(0xA0, table.size()));
        for (const quint32 index : table)
            list.objects.back() += bigEndianBytes(index, 4);
        const quint32 key = add(list, {'"', "$objects"});
        QByteArray &top = list.objects[list.top];
        top = '\xD2' + top.mid(1, 4) + bigEndianBytes(key, 4) + top.mid(5, 4) + bigEndianBytes(objects, 4);
        return list.bytes();
    }
    QByteArray xml() const
    {
        QByteArray text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                          "<key>$top</key><dict><key>root</key><dict><key>CF$UID</key><integer>1</integer>"
                          "</dict></dict><key>$objects</key><array>";
        for (const Value &object : m_objects)
            appendXml(text, object);
        return text + "</array></dict></plist>\n";
    }

private:
    Value object()
    {
        const char first = m_source.peek();
        if (first < 'a' || first > 'z')
            return value();
        const QByteArray word = m_source.until(":\"( \n");
        if (!m_source.skip(':'))
            return scalar(word);
        m_labels[word] = int(m_objects.size());
        return value();
    }

    Value value()
    {
        const char first = m_source.peek();
        m_source.skip(QByteArrayView("\"<([{#@").contains(first) ? first : '\1');
        switch (first) {
        case '"': return {first, m_source.quoted()};
        case '<': {
            const QByteArray bytes = QByteArray::fromHex(m_source.until(">"));
            m_source.skip();
            return {'d', bytes};
        }
        case '(': {
            Value array{first};
            while (!m_source.skip(')'))
                array.children.push_back(value());
            return array;
        }
        case '[': return members({first}, ']');
        case '{': {
            const QByteArray names = m_source.until(" }");
            if (m_classes.emplace(names, m_records.size()).second)
                m_records.push_back(classRecord(names));
            return members({'[', {}, {{'"', "$class"}, {'#', "class " + names}}}, '}');
        }
        case '#':
        case '@': return {first, m_source.until(" \n)]}")};
        default: return scalar(m_source.until("\" \n)]}"));
        }
    }
    Value scalar(const QByteArray &word)
    {
        if (word == "d") {
            m_source.skip();
            return {'d', m_source.quoted()};
        }
        if (word == "true" || word == "false")
            return {'t', word};
        if (word.startsWith('u'))
            return {'u', QByteArray::fromHex(word.sliced(1))};
        return {word.contains('.') || word.contains('n') ? '.' : '0', word};
    }
    Value members(Value dictionary, char end)
    {
        while (!m_source.skip(end)) {
            dictionary.children.push_back({'"', m_source.until("=")});
            m_source.skip();
            dictionary.children.push_back(value());
        }
        return dictionary;
    }
    static Value classRecord(const QByteArray &names)
    {
        Value chain{'('};
        for (const QByteArray &name : names.split('/'))
            chain.children.push_back({'"', name});
        const Value name = chain.children.front();
        return {'[', {}, {{'"', "$classname"}, name, {'"', "$classes"}, chain}};
    }
    [[nodiscard]] int number(const QByteArray &reference) const
    {
        bool isNumber = false;
        const int number = reference.toInt(&isNumber);
        return isNumber ? number : m_labels.at(reference);
    }

    static QByteArray marker(int kind, size_t count)
    {
        if (count < 15)
            return QByteArray(1, char(kind | int(count)));
        return QByteArray(1, char(kind | 15)) + '\x12' + bigEndianBytes(count, 4);
    }
    quint32 add(BinaryList &list, const Value &value)
    {
        std::vector<quint32> keys;
        std::vector<quint32> values;
        for (size_t i = 0; i < value.children.size(); ++i)
            (value.kind == '[' && i % 2 == 0 ? keys : values).push_back(add(list, value.children[i]));
        const auto size = size_t(value.text.size());
        const auto eightBytes = [](double real) { return bigEndianBytes(std::bit_cast<quint64>(real), 8); };
        QByteArray bytes;
        switch (value.kind) {
        case '"': bytes = marker(0x50, size) + value.text; break;
        case 'u': bytes = marker(0x60, size / 2) + value.text; break;
        case 'd': bytes = marker(0x40, size) + value.text; break;
        case '0': bytes = '\x13' + bigEndianBytes(quint64(value.text.toLongLong()), 8); break;
        case '.': bytes = '\x23' + eightBytes(value.text.toDouble()); break;
        case '@': bytes = '\x33' + eightBytes(value.text.toDouble()); break;
        case 't': bytes = value.text == "true" ? "\x09" : "\x08"; break;
        case '#': bytes = '\x83' + bigEndianBytes(quint64(number(value.text)), 4); break;
        case '(': bytes = marker(0xA0, values.size()); break;
        case '[': bytes = marker(0xD0, keys.size()); break;
        default: break; // no bytes: the place of the object before
        }
        for (const quint32 child : keys)
            bytes += bigEndianBytes(child, 4);
        for (const quint32 child : values)
            bytes += bigEndianBytes(child, 4);
        list.objects.push_back(bytes);
        return quint32(list.objects.size() - 1);
    }
    void appendXml(QByteArray &xml, const Value &value) const
    {
        switch (value.kind) {
        case '"': xml += "<string>" + value.text + "</string>"; return;
        case 'd': xml += "<data>" + value.text.toBase64() + "</data>"; return;
        case '0': xml += "<integer>" + value.text + "</integer>"; return;
        case '.': xml += "<real>" + value.text + "</real>"; return;
        case 't': xml += '<' + value.text + "/>"; return;
        case '#':
            xml += "<dict><key>CF$UID</key><integer>" + QByteArray::number(number(value.text)) +
                   "</integer></dict>";
            return;
        default: break;
        }
        xml += value.kind == '[' ? "<dict>" : "<array>";
        for (size_t i = 0; i < value.children.size(); ++i) {
            if (value.kind == '[' && i % 2 == 0)
                xml += "<key>" + value.children[i].text + "</key>";
            else
                appendXml(xml, value.children[i]);
        }
        xml += value.kind == '[' ? "</dict>" : "</array>";
    }

    Source m_source;
    std::vector<Value> m_objects;
    std::vector<Value> m_records;
    std::map<QByteArray, size_t> m_classes;
    std::map<QByteArray, int> m_labels;
};

} // namespace

QByteArray typedStream(const QByteArray &notation, ByteOrder order)
{
    return StreamWriter(notation, order).write();
}

QByteArray stringNotation(const QByteArray &text)
{
    return ":@ {NSString :+ \"" + text + "\" }";
}

QByteArray keyedArchive(const QByteArray &notation, Form form)
{
    KeyedWriter writer(notation);
    return form == Form::Binary ? writer.binary() : writer.xml();
}
