#include "ProfileRows.h"

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
