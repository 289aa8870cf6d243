#pragma once

#include "tests/archive/binarypropertylistwriter.h"
#include "tests/archive/propertylistvalue.h"

#include <map>

/// Writes a keyed archive: its objects by number (UID), then all of it in either form.
class KeyedArchiveWriter {
public:
    using Value = PropertyListValue;
    using Members = PropertyListValue::Members;
    /// Class names from the class up to its root.
    using Chain = std::vector<QByteArray>;

    /// Adds an object. @return its UID.
    int add(Value object)
    {
        m_objects.push_back(std::move(object));
        return int(m_objects.size() - 1);
    }
    int string(const QByteArray &utf8) { return add(Value::ofString(utf8)); }
    /// Takes a UID whose object is to be set().
    int reserve() { return add({}); }
    void set(int uid, Value object) { m_objects[size_t(uid)] = std::move(object); }
    /// An object of the class, to be added or set.
    [[nodiscard]] Value instance(const Chain &chain, Members members)
    {
        members.emplace_back("$class", Value::ofUid(classRecord(chain)));
        return Value::ofMembers(members);
    }
    int addInstance(const Chain &chain, const Members &members) { return add(instance(chain, members)); }
    int array(const std::vector<int> &elements)
    {
        return addInstance({"NSArray", "NSObject"}, {{"NS.objects", Value::ofUids(elements)}});
    }
    int dictionary(const std::vector<int> &keys, const std::vector<int> &values)
    {
        return addInstance({"NSDictionary", "NSObject"},
                           {{"NS.keys", Value::ofUids(keys)}, {"NS.objects", Value::ofUids(values)}});
    }

    [[nodiscard]] QByteArray binary(int root)
    {
        BinaryPropertyListWriter list;
        return list.finish(list.value(propertyList(root)));
    }
    [[nodiscard]] QByteArray xml(int root)
    {
        QByteArray text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">";
        appendXml(text, propertyList(root));
        return text + "</plist>\n";
    }

private:
    int classRecord(const Chain &chain)
    {
        if (const auto known = m_classes.find(chain); known != m_classes.end())
            return known->second;
        std::vector<Value> names;
        for (const QByteArray &name : chain)
            names.push_back(Value::ofString(name));
        const int uid = add(Value::ofMembers(
            {{"$classname", Value::ofString(chain.front())}, {"$classes", Value::ofArray(names)}}));
        m_classes.emplace(chain, uid);
        return uid;
    }
    [[nodiscard]] Value propertyList(int root) const
    {
        Value list = Value::ofMembers({{"$archiver", Value::ofString("NSKeyedArchiver")},
                                       {"$version", Value::ofInteger(100000)},
                                       {"$top", Value::ofMembers({{"root", Value::ofUid(root)}})}});
        list.children.push_back(Value::ofString("$objects"));
        list.children.push_back(Value::ofArray(m_objects));
        return list;
    }

    std::vector<Value> m_objects{Value::ofString("$null")};
    std::map<Chain, int> m_classes;
};
