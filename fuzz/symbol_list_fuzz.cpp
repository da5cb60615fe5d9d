// The symbol-list parser: SymbolTable::readFromFile over the text of an nm
// listing or of the kernel's symbol list, then look-ups and the rows of the
// "functions" section over the table it built.
//
// The lines the parser is handed from a list, held in memory or read in
// blocks, are checked against what fgets and feof give over the same text in
// a file: the buffer's bytes after every read, the read's result and the end
// flag, for the parser's buffer of 4096 bytes and for a small one that splits
// lines, with small blocks that split them too.
//
// Input: one byte of options, then the text.
//   bit 0  the kernel's list: the text becomes the sandbox's /proc/kallsyms
//          and is read under that name, as a profile run reads it (else an
//          nm listing in a file of its own)
//   bit 1  verbosity 1: the parser's diagnostics on standard output, which
//          run-fuzz.sh closes
//   bits 2-7  the small buffer's size, less 2, and the blocks' sizes
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "FileNames.h"
#include "FuzzSupport.h"
#include "ListingText.h"
#include "PerfJSONWriter.h"
#include "Settings.h"
#include "SymbolTable.h"
#include "SymbolTableElement.h"
#include "SystemFiles.h"

namespace {

std::string nmListPath() { return fuzzSandbox() + "/tmp/nm-list"; }

// Looks up the bounds of every symbol and a few addresses around them, marks
// what it finds as used, and writes the used rows.
void exercise(SymbolTable& table)
{
    size_t probes = 0;
    for (size_t i = 0; i < table._elements.size() && probes < 256; i++, probes++) {
        const SymbolTableElement* element = table._elements[i];
        for (unsigned long long address : {element->_address, element->_address + element->_size, element->_address - 1,
                                           element->_address + element->_size + 1}) {
            SymbolTableElement* found = table.findElement(address);
            if (found != nullptr)
                found->markUsed(address);
            (void)table.findElementLinear(address);
        }
    }
    PerfJSONWriter writer(false, true);
    writer.open("/dev/null");
    writer.writeArrayStart("data");
    table.out(writer, 0);
    table.outKeys(writer);
    writer.writeArrayEnd();
    writer.close();
}

// `block` 0 holds the whole text; otherwise it is read from the file in blocks of that size.
void compareLines(const std::string& path, const std::string& text, int size, size_t block)
{
    FILE* file = fopen(path.c_str(), "r");
    int fd = open(path.c_str(), O_RDONLY);
    if (file == nullptr || fd < 0)
        abort();
    ListingText listing = block == 0 ? ListingText(text) : ListingText::reading(fd, block);
    std::vector<char> expected((size_t)size, 'x'), actual((size_t)size, 'x');
    while (!feof(file)) {
        const bool read = fgets(expected.data(), size, file) != nullptr || !ferror(file);
        if (listing.atEnd() || listing.readLine(actual.data(), size) != read || expected != actual ||
            listing.atEnd() != (feof(file) != 0))
            abort();
    }
    if (!listing.atEnd())
        abort();
    fclose(file);
    close(fd);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    (void)fuzzSandbox();
    resetConverter();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return -1;
    const bool kernel = (data[0] & 1) != 0;
    gVerbosity = (data[0] & 2) != 0 ? 1 : 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    FileNames::createEmptyRef();
    {
        SymbolTable table;
        if (kernel) {
            writeWholeFile(fuzzSystemRoot() + SystemFiles::kallsyms, text);
            if (table.readFromFile(SystemFiles::kallsyms) != 0)
                abort();
        } else {
            writeWholeFile(nmListPath(), text);
            if (table.readFromFile(nmListPath().c_str()) != 0)
                abort();
        }
        const std::string written = kernel ? fuzzSystemRoot() + SystemFiles::kallsyms : nmListPath();
        compareLines(written, text, 4096, 0);
        compareLines(written, text, 4096, 1 + (data[0] >> 2));
        compareLines(written, text, 2 + (data[0] >> 2), 0);
        compareLines(written, text, 2 + (data[0] >> 2), 1 + (data[0] >> 4));
        exercise(table);
    }
    resetConverter();
    return 0;
}
