#include "ChartEntryWriter.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "JsomNumberText.h"
#include "PerfJSONWriter.h"

ChartEntryWriter::ChartEntryWriter(PerfJSONWriter& writer) : _writer(writer), _open(false) {}

std::string ChartEntryWriter::format(const char* pattern, ...)
{
    char buffer[128];
    va_list arguments;
    va_start(arguments, pattern);
    vsnprintf(buffer, sizeof buffer, pattern, arguments);
    va_end(arguments);
    return buffer;
}

ChartEntryWriter& ChartEntryWriter::text(const char* label, const std::string& value)
{
    _keys.push_back({Key::Text, label, value, 0, nullptr, nullptr});
    return *this;
}

ChartEntryWriter& ChartEntryWriter::number(const char* label, unsigned int value)
{
    _keys.push_back({Key::Number, label, std::string(), value, nullptr, nullptr});
    return *this;
}

ChartEntryWriter& ChartEntryWriter::hints(const char* white, const char* black)
{
    _keys.push_back({Key::Hints, "hints", std::string(), 0, white, black});
    return *this;
}

void ChartEntryWriter::open()
{
    if (_open)
        return;
    _open = true;
    _writer.writeStructStart();
    for (const Key& key : _keys) {
        switch (key.kind) {
        case Key::Text:
            _writer.writeNamed(key.label, key.text.c_str());
            break;
        case Key::Number:
            _writer.writeNamed(key.label, key.number);
            break;
        case Key::Hints:
            _writer.newElementStart(key.label);
            if (key.white != nullptr)
                _writer.writeNamed("white", key.white);
            if (key.black != nullptr)
                _writer.writeNamed("black", key.black);
            _writer.writeStructEnd();
            break;
        }
    }
    _writer.writeArrayStart("data");
}

void ChartEntryWriter::close()
{
    if (!_open)
        return;
    _writer.writeArrayEnd();
    _writer.writeStructEnd();
    _open = false;
}

// The charts' two point forms, "[%f,%u]" and "[%f, %u]", are composed from
// their numbers; any other form goes through printf. Either way the text is
// cut to the point buffer as snprintf would cut it.
void ChartEntryWriter::_point(const char* format, double time, unsigned int value)
{
    open();
    char buffer[kPointBuffer];
    const bool spaced = strcmp(format, "[%f, %u]") == 0;
    if (!spaced && strcmp(format, "[%f,%u]") != 0) {
        snprintf(buffer, sizeof buffer, format, time, value);
        _writer.writeJson(buffer);
        return;
    }
    char text[2 * loomstat::JsomNumberText::kShortText + 8];
    size_t length = 0;
    text[length++] = '[';
    // A time too long for the short buffer is cut there, past the point's own cut.
    const int timeLength =
        loomstat::JsomNumberText::fixed(text + length, loomstat::JsomNumberText::kShortText, time, 6);
    length += std::min((size_t)timeLength, loomstat::JsomNumberText::kShortText - 1);
    text[length++] = ',';
    if (spaced)
        text[length++] = ' ';
    length += (size_t)loomstat::JsomNumberText::unsignedInt(text + length, value);
    text[length++] = ']';
    if (length > sizeof buffer - 1)
        length = sizeof buffer - 1;
    memcpy(buffer, text, length);
    buffer[length] = '\0';
    _writer.writeJson(buffer);
}

void ChartEntryWriter::allPoints(const std::vector<ChartEntryS>& series, const char* format)
{
    open();
    for (const ChartEntryS& sample : series)
        _point(format, sample.time, sample.value);
    close();
}

void ChartEntryWriter::changesOnly(const std::vector<ChartEntryS>& series, const char* format, bool alwaysWrite)
{
    if (alwaysWrite)
        open();
    unsigned int last = 0;
    for (const ChartEntryS& sample : series) {
        if (sample.value == last)
            continue;
        _point(format, sample.time, sample.value);
        last = sample.value;
    }
    close();
}

void ChartEntryWriter::counterBars(const std::vector<ChartEntryS>& series, const char* format)
{
    double lastTime = 0.0;
    unsigned int last = 0;
    unsigned int beforeLast = 0;
    for (const ChartEntryS& sample : series) {
        if (sample.value == last && beforeLast == last) {
            lastTime = sample.time;
            continue;
        }
        _point(format, lastTime, sample.value);
        beforeLast = last;
        last = sample.value;
        lastTime = sample.time;
    }
    if (_open)
        _point(format, lastTime, 0);
    close();
}

void ChartEntryWriter::events(std::vector<EventEntryS>& events)
{
    open();
    for (EventEntryS& event : events) {
        _writer.writeArrayStart(nullptr);
        _writer.write(event.time);
        _writer.write(event.code);
        _writer.write(event.name);
        _writer.write(event.args);
        _writer.writeArrayEnd();
    }
    close();
}
