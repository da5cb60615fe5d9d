// The option table: the single source of the option letters, the getopt
// string and the help text. Handlers only set the program's settings.
#ifndef ZELCONV_OPTIONS_H
#define ZELCONV_OPTIONS_H

#include <string>

struct ProgramOption {
    void (*handler)(char*);
    int option;
    int takesArgument;
    const char* help;
};

// Rows in help order, ended by a row with a null handler. The first row
// with a letter wins it.
extern const ProgramOption programOptions[];

// The getopt string built from the table.
std::string optionString();
// Walks the command line; may end the process (help, or a bad option).
void parseOptions(int argc, char** argv);

#endif
