#include "ProfileRows.h"

#include <cstdio>
#include <set>
#include <stdexcept>

#include "JSONData.h"

using loomstat::JSONData;

namespace {

RowValue rowValue(const JSONData& node)
{
    RowValue value;
    if (node._type == JSONData::TYPE_ARRAY) {
        value.isArray = true;
        for (int i = 0; i < node.length(); i++)
            value.items.push_back(rowValue(*node.getByIndex(i)));
    } else if (node._type == JSONData::TYPE_STRING) {
        value.text = *node.stringValue();
    } else if (node._type == JSONData::TYPE_LONG) {
        value.text = std::to_string((uint64_t)node.longValue());
    } else {
        char digits[40];
        snprintf(digits, sizeof digits, "%.17g", node.doubleValue());
        value.text = digits;
    }
    return value;
}

struct ProfileDocument {
    JSONData root{1};

    explicit ProfileDocument(const std::string& text)
    {
        if (!root.setFromJsonStlString(text))
            throw std::runtime_error("the profile document does not parse");
    }

    std::vector<RowValue> rows(const std::string& section) const
    {
        const JSONData* part = root.getByKey(section);
        if (part == nullptr)
            throw std::runtime_error("no section " + section);
        const JSONData* data = part->getByKey("data");
        if (data == nullptr || data->_type != JSONData::TYPE_ARRAY)
            throw std::runtime_error("no data in " + section);
        return rowValue(*data).items;
    }
};

}  // namespace

std::vector<RowValue> profileRows(const std::string& document, const std::string& section)
{
    return ProfileDocument(document).rows(section);
}

std::vector<std::string> profileKeyProblems(const std::string& text)
{
    const ProfileDocument document(text);
    std::set<uint64_t> processes, libraries, functions;
    for (const RowValue& row : document.rows("processes"))
        processes.insert(row.items.at(0).number());
    const std::vector<RowValue> libraryRows = document.rows("libraries");
    for (const RowValue& row : libraryRows)
        libraries.insert(row.items.at(0).number());
    const std::vector<RowValue> functionRows = document.rows("functions");
    for (const RowValue& row : functionRows)
        functions.insert(row.items.at(0).number());

    std::vector<std::string> problems;
    auto mapOrSymbol = [&](uint64_t key, const std::string& where) {
        if (libraries.count(key) == 0 && functions.count(key) == 0)
            problems.push_back(where + " names no map or symbol: " + std::to_string(key));
    };
    for (const RowValue& row : functionRows)
        for (const RowValue& mk : row.items.at(4).items)
            if (libraries.count(mk.number()) == 0)
                problems.push_back("mk names no map: " + mk.text);
    for (const RowValue& row : libraryRows) {
        uint64_t pidKey = row.items.at(1).number();
        if (pidKey != 0 && processes.count(pidKey) == 0)
            problems.push_back("map pidkey names no process: " + row.items.at(1).text);
    }
    for (const RowValue& row : document.rows("samples")) {
        mapOrSymbol(row.items.at(2).number(), "mapkey of sample " + row.items.at(0).text);
        if (processes.count(row.items.at(5).number()) == 0)
            problems.push_back("pidkey names no process: " + row.items.at(5).text);
        for (const RowValue& entry : row.items.at(7).items)
            mapOrSymbol(entry.items.at(1).number(), "back-trace key of sample " + row.items.at(0).text);
    }
    return problems;
}
