#pragma once

#include <QByteArray>
#include <QDataStream>
#include <QString>

#include <array>
#include <concepts>
#include <optional>
#include <tuple>
#include <vector>

namespace platform {

// Values as bytes, for one process of ours to hand to another: numbers, texts, bytes, lists and optionals of
// these, and records that name their members by a function beside them:
//
//     constexpr auto membersOf(const Person *) { return std::tuple(&Person::service, &Person::screenName); }
//
// What is read is trusted. (Not as operators: Qt has some for std::optional from 6.6 on.)

template <class Value>
concept StreamedByQt = std::integral<Value> || std::floating_point<Value> || std::same_as<Value, QString> ||
                       std::same_as<Value, QByteArray>;
template <class Value>
concept StreamedByMembers = requires(const Value *record) { membersOf(record); };

// Declared together, since each may hold any other.
template <class Value>
void writeValue(QDataStream &stream, const std::optional<Value> &value);
template <class Value>
void readValue(QDataStream &stream, std::optional<Value> &value);
template <class Element>
void writeValue(QDataStream &stream, const std::vector<Element> &elements);
template <class Element>
void readValue(QDataStream &stream, std::vector<Element> &elements);
template <class Element, size_t count>
void writeValue(QDataStream &stream, const std::array<Element, count> &elements);
template <class Element, size_t count>
void readValue(QDataStream &stream, std::array<Element, count> &elements);

template <StreamedByQt Value>
void writeValue(QDataStream &stream, const Value &value)
{
    stream << value;
}

template <StreamedByQt Value>
void readValue(QDataStream &stream, Value &value)
{
    stream >> value;
}

template <StreamedByMembers Record>
void writeValue(QDataStream &stream, const Record &record)
{
    std::apply([&](auto... member) { (writeValue(stream, record.*member), ...); }, membersOf(&record));
}

template <StreamedByMembers Record>
void readValue(QDataStream &stream, Record &record)
{
    std::apply([&](auto... member) { (readValue(stream, record.*member), ...); }, membersOf(&record));
}

template <class Value>
void writeValue(QDataStream &stream, const std::optional<Value> &value)
{
    stream << value.has_value();
    if (value)
        writeValue(stream, *value);
}

template <class Value>
void readValue(QDataStream &stream, std::optional<Value> &value)
{
    bool isThere = false;
    stream >> isThere;
    value.reset();
    if (isThere)
        readValue(stream, value.emplace());
}

template <class Element>
void writeValue(QDataStream &stream, const std::vector<Element> &elements)
{
    stream << quint32(elements.size());
    for (const Element &element : elements)
        writeValue(stream, element);
}

template <class Element>
void readValue(QDataStream &stream, std::vector<Element> &elements)
{
    quint32 count = 0;
    stream >> count;
    elements.clear();
    for (quint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i)
        readValue(stream, elements.emplace_back());
}

template <class Element, size_t count>
void writeValue(QDataStream &stream, const std::array<Element, count> &elements)
{
    for (const Element &element : elements)
        writeValue(stream, element);
}

template <class Element, size_t count>
void readValue(QDataStream &stream, std::array<Element, count> &elements)
{
    for (Element &element : elements)
        readValue(stream, element);
}

} // namespace platform
