#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>

#include "TraceMarker.h"

namespace {

// A line, and what it gives: "pid time code name|args", or "-" when it is dropped.
TEST(TraceMarkerLines, FieldsByPosition)
{
    const std::pair<const char*, const char*> cases[] = {
        {"           <...>-1234  [001] ...1  5.250000: tracing_mark_write: ZVIEW,7,draw,a,b", "1234 5.25 7 draw|a,b"},
        // A full task name has no ">-": the pid is read from position 1, a blank here.
        {"  surfaceflinger-301   [000] d..2  12.500000: tracing_mark_write: ZVIEW,5,frame,", "0 12.5 5 frame|"},
        {"x42 [0] 1.5: tracing_mark_write: ZVIEW,3,n,", "42 1.5 3 n|"},
        {"<...>-9 [000] 3.0: tracing_mark_write: MARK,4,n,ZVIEW", "9 3 4 n|ZVIEW"},
        {"<...>-9 [000] later: tracing_mark_write: ZVIEW,x,n,a", "9 0 0 n|a"},
        {"<...>-abc [000] 1.0: tracing_mark_write: ZVIEW,-1,n,a", "0 1 4294967295 n|a"},
        // Numbers beyond 32 bits stop at the limit, as on the 32-bit target.
        {"<...>-99999999999 [000] 1.0: tracing_mark_write: ZVIEW,99999999999,n,a", "2147483647 1 2147483647 n|a"},
        {"<...>-9 [000] 1.0: tracing_mark_write: ZVIEW,5,frame", "-"},
        {"<...>-9 [000] 1.0: tracing_mark_write: ZVIEW", "-"},
        {"<...>-9 [000] 1.0: tracing_mark_write: other,1,2,3", "-"},
        {"<...>-9 [000] 1.0: sched_switch: ZVIEW,1,2,3", "-"},
        {"", "-"}};
    for (const auto& [line, expected] : cases) {
        TraceMarker marker;
        std::string got = "-";
        if (marker.parse(line)) {
            char head[64];
            snprintf(head, sizeof head, "%d %g %u ", marker.pid, marker.time, marker.code);
            got = head + marker.name + "|" + marker.args;
        }
        EXPECT_EQ(got, expected) << line;
    }
}

}  // namespace
