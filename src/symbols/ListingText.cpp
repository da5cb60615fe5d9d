#include "ListingText.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

bool ListingText::readFrom(int fd)
{
    char block[65536];
    for (;;) {
        ssize_t got = read(fd, block, sizeof block);
        if (got > 0) {
            _text.append(block, (size_t)got);
        } else if (got == 0) {
            return true;
        } else if (errno != EINTR) {
            _readError = true;
            return false;
        }
    }
}

bool ListingText::readLine(char* buffer, int size)
{
    if (size <= 1)
        return true;
    const size_t left = _text.size() - _position;
    if (left == 0) {
        // Nothing is read: the buffer keeps the line before.
        if (!_readError)
            _atEnd = true;
        return !_readError;
    }
    const size_t room = (size_t)size - 1;
    const char* start = _text.data() + _position;
    const void* lineEnd = memchr(start, '\n', left < room ? left : room);
    size_t length;
    if (lineEnd != nullptr) {
        length = (size_t)((const char*)lineEnd - start) + 1;
    } else if (left < room) {
        // The line runs into the end of the text: the read met the end, or
        // the failure, after which fgets hands back nothing.
        if (_readError)
            return false;
        length = left;
        _atEnd = true;
    } else {
        length = room;
    }
    memcpy(buffer, start, length);
    buffer[length] = '\0';
    _position += length;
    return true;
}
