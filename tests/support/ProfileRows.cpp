#include "ProfileRows.h"

#include <set>
#include <stdexcept>

namespace {

class RowParser {
public:
    RowParser(const std::string& text, size_t position) : _text(text), _pos(position) {}

    // An array whose last element may be empty (the trailing comma).
    RowValue array()
    {
        expect('[');
        RowValue result;
        result.isArray = true;
        if (peek() == ']') {
            _pos++;
            return result;
        }
        while (true) {
            char c = peek();
            if (c == ']') {  // the empty value behind a trailing comma
                _pos++;
                return result;
            }
            result.items.push_back(value());
            c = next();
            if (c == ']')
                return result;
            if (c != ',')
                fail("expected , or ]");
        }
    }

private:
    RowValue value()
    {
        char c = peek();
        if (c == '[')
            return array();
        RowValue result;
        if (c == '"') {
            _pos++;
            while (_pos < _text.size() && _text[_pos] != '"') {
                if (_text[_pos] == '\\')
                    result.text.push_back(_text[_pos++]);
                result.text.push_back(_text[_pos++]);
            }
            expect('"');
            return result;
        }
        while (_pos < _text.size() && _text[_pos] != ',' && _text[_pos] != ']')
            result.text.push_back(_text[_pos++]);
        if (result.text.empty())
            fail("empty value");
        return result;
    }

    char peek()
    {
        skipBlanks();
        if (_pos >= _text.size())
            fail("unexpected end");
        return _text[_pos];
    }
    char next()
    {
        char c = peek();
        _pos++;
        return c;
    }
    void expect(char c)
    {
        if (next() != c)
            fail(std::string("expected ") + c);
    }
    void skipBlanks()
    {
        while (_pos < _text.size() && (_text[_pos] == '\n' || _text[_pos] == ' '))
            _pos++;
    }
    [[noreturn]] void fail(const std::string& why)
    {
        throw std::runtime_error("profile rows: " + why + " at " + std::to_string(_pos));
    }

    const std::string& _text;
    size_t _pos;
};

}  // namespace

std::vector<RowValue> profileRows(const std::string& document, const std::string& section)
{
    size_t start = document.find("\"" + section + "\": {");
    if (start == std::string::npos)
        throw std::runtime_error("no section " + section);
    size_t data = document.find("\"data\": [", start);
    if (data == std::string::npos)
        throw std::runtime_error("no data in " + section);
    return RowParser(document, data + 8).array().items;
}

std::vector<std::string> profileKeyProblems(const std::string& document)
{
    std::set<uint64_t> processes, libraries, functions;
    for (const RowValue& row : profileRows(document, "processes"))
        processes.insert(row.items.at(0).number());
    for (const RowValue& row : profileRows(document, "libraries"))
        libraries.insert(row.items.at(0).number());
    std::vector<RowValue> functionRows = profileRows(document, "functions");
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
    for (const RowValue& row : profileRows(document, "libraries")) {
        uint64_t pidKey = row.items.at(1).number();
        if (pidKey != 0 && processes.count(pidKey) == 0)
            problems.push_back("map pidkey names no process: " + row.items.at(1).text);
    }
    for (const RowValue& row : profileRows(document, "samples")) {
        mapOrSymbol(row.items.at(2).number(), "mapkey of sample " + row.items.at(0).text);
        if (processes.count(row.items.at(5).number()) == 0)
            problems.push_back("pidkey names no process: " + row.items.at(5).text);
        for (const RowValue& entry : row.items.at(7).items)
            mapOrSymbol(entry.items.at(1).number(), "back-trace key of sample " + row.items.at(0).text);
    }
    return problems;
}
