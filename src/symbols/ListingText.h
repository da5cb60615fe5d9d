// The text of a symbol list (an nm listing or the kernel's list), held in
// memory or read from a descriptor in blocks, and handed out line by line
// exactly as fgets and feof over the file would: lines of at most size - 1
// characters, the end of the input seen only by a read that needed one more
// byte, and a read at the end that fails and leaves the caller's buffer as
// it was.
#ifndef ZELCONV_LISTINGTEXT_H
#define ZELCONV_LISTINGTEXT_H

#include <cstddef>
#include <string>

class ListingText {
public:
    ListingText() = default;
    // The whole text, held.
    explicit ListingText(std::string text) : _text(std::move(text)) {}
    // Text read from `fd` as it is needed, from where it stands, `block`
    // bytes at a time; the caller keeps the descriptor open while lines are
    // read, and closes it.
    static ListingText reading(int fd, size_t block = 65536);

    // Reads the rest of the descriptor into memory and lets it go.
    void readAll();

    // True once a read has met the end of the text, as feof.
    bool atEnd() const { return _atEnd; }
    // Copies the next line, with its line end, into `buffer` and ends it with a
    // zero, as fgets(buffer, size, file). At the end of the text the buffer is
    // left as it was and the read counts as failed; false only where reading
    // the text failed.
    bool readLine(char* buffer, int size);

private:
    // Reads more of the descriptor until `wanted` bytes are held or a line
    // end lies within them, or the descriptor has no more.
    void _fill(size_t wanted);
    bool _readBlock();

    std::string _text;
    size_t _position = 0;
    int _fd = -1;  // -1 once everything is held
    size_t _block = 0;
    bool _atEnd = false;
    bool _readError = false;
};

#endif
