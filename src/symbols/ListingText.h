// The whole text of a symbol list (an nm listing or the kernel's list), held
// in memory and handed out line by line exactly as fgets and feof over the
// file would: lines of at most size - 1 characters, the end of the input
// seen only by a read that needed one more byte, and a read at the end that
// fails and leaves the caller's buffer as it was.
#ifndef ZELCONV_LISTINGTEXT_H
#define ZELCONV_LISTINGTEXT_H

#include <cstddef>
#include <string>

class ListingText {
public:
    ListingText() = default;
    explicit ListingText(std::string text) : _text(std::move(text)) {}

    // Reads all of descriptor `fd` from where it stands; false if it cannot
    // be read, in which case what came before the failure is kept and the
    // failure shows up as a read error where the text ends.
    bool readFrom(int fd);

    // True once a read has met the end of the text, as feof.
    bool atEnd() const { return _atEnd; }
    // Copies the next line, with its line end, into `buffer` and ends it with a
    // zero, as fgets(buffer, size, file). At the end of the text the buffer is
    // left as it was and the read counts as failed; false only where reading
    // the text failed.
    bool readLine(char* buffer, int size);

private:
    std::string _text;
    size_t _position = 0;
    bool _atEnd = false;
    bool _readError = false;
};

#endif
