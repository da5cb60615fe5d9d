// One application marker as a line of the ftrace text file shows it:
//
//   <...>-1234  [001] ...1  5.250000: tracing_mark_write: ZVIEW,7,draw,a,b
//
// The pid ends the head of the line (after ">-"), the time stands between the
// last blank before the first ":" after the pid and that ":", and the payload
// after "tracing_mark_write: " holds the token, the code, the name and the
// arguments, comma-separated; the arguments are all the rest, commas included.
#ifndef ZELCONV_TRACEMARKER_H
#define ZELCONV_TRACEMARKER_H

#include <string>

class TraceMarker {
public:
    // True when the line is a marker with all its fields, which are then set.
    // A pid or code that is not a number reads as 0, a time as 0.0.
    bool parse(const std::string& line);

    int pid = 0;
    double time = 0.0;
    unsigned int code = 0;
    std::string name;
    std::string args;
};

#endif
