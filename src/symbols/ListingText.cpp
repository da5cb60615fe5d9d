#include "ListingText.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

ListingText ListingText::reading(int fd, size_t block)
{
    ListingText text;
    text._fd = fd;
    text._block = block > 0 ? block : 1;
    return text;
}

void ListingText::readAll()
{
    while (_readBlock()) {
    }
}

// One more block from the descriptor behind what is held; false when it has
// no more, or could not be read.
bool ListingText::_readBlock()
{
    if (_fd < 0)
        return false;
    if (_position > 0 && _position >= _text.size() / 2) {
        _text.erase(0, _position);
        _position = 0;
    }
    const size_t held = _text.size();
    _text.resize(held + _block);
    for (;;) {
        const ssize_t got = read(_fd, &_text[held], _block);
        if (got > 0) {
            _text.resize(held + (size_t)got);
            return true;
        }
        if (got < 0 && errno == EINTR)
            continue;
        _text.resize(held);
        _readError = got < 0;
        _fd = -1;
        return false;
    }
}

void ListingText::_fill(size_t wanted)
{
    for (size_t searched = 0;;) {
        const size_t left = _text.size() - _position;
        const size_t span = left < wanted ? left : wanted;
        if (span > searched && memchr(_text.data() + _position + searched, '\n', span - searched) != nullptr)
            return;
        if (left >= wanted || !_readBlock())
            return;
        searched = span;
    }
}

bool ListingText::readLine(char* buffer, int size)
{
    if (size <= 1)
        return true;
    const size_t room = (size_t)size - 1;
    _fill(room);
    const size_t left = _text.size() - _position;
    if (left == 0) {
        // Nothing is read: the buffer keeps the line before.
        if (!_readError)
            _atEnd = true;
        return !_readError;
    }
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
