#include "TraceMarker.h"

#include <climits>
#include <cstdlib>

namespace {

const std::string kEvent = "tracing_mark_write: ";
const char* const kToken = "ZVIEW";

// A decimal number as the 32-bit target's strtol gives it: a value beyond
// the range of a 32-bit long stops at its limit.
long number32(const std::string& text)
{
    const long long value = strtoll(text.c_str(), nullptr, 10);
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return (long)value;
}

}  // namespace

// Positions are cut with substr, whose range check would end the run on a
// position past the end of the line; every position here lies within it.
bool TraceMarker::parse(const std::string& line)
{
    const size_t event = line.find(kEvent);
    if (event == std::string::npos || line.find(kToken) == std::string::npos)
        return false;

    // A task whose name ftrace no longer holds shows as "<...>-pid". A full
    // name has no ">-", and the pid is then read from position 1 on.
    const size_t dash = line.find(">-");
    const size_t p = dash == std::string::npos ? 1 : dash + 2;
    const size_t e = line.find(' ', p);
    const long readPid = number32(line.substr(p, e == std::string::npos ? std::string::npos : e - p));

    // With no blank before the colon the time starts at the line's start.
    const size_t c = line.find(':', p);
    const size_t b = line.rfind(' ', c);
    const size_t timeStart = b == std::string::npos ? 0 : b + 1;
    const size_t timeLength = c == std::string::npos ? std::string::npos : c - timeStart;
    const double readTime = strtod(line.substr(timeStart, timeLength).c_str(), nullptr);

    const std::string payload = line.substr(event + kEvent.size());
    const size_t f1 = payload.find(',');
    const size_t f2 = f1 == std::string::npos ? std::string::npos : payload.find(',', f1 + 1);
    if (f2 == std::string::npos)
        return false;
    const size_t g2 = payload.find(',', f2 + 1);
    if (g2 == std::string::npos)
        return false;

    pid = (int)readPid;
    time = readTime;
    code = (unsigned int)number32(payload.substr(f1 + 1, f2 - f1 - 1));
    name = payload.substr(f2 + 1, g2 - f2 - 1);
    args = payload.substr(g2 + 1);
    return true;
}
