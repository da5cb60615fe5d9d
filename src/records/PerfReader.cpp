#include "PerfReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "Settings.h"

#ifndef O_LARGEFILE
#define O_LARGEFILE 0
#endif

static const size_t kBlockSize = 1 << 16;

PerfReader::PerfReader() : _fd(0), _lastRead(0) {}

PerfReader::~PerfReader()
{
    close();
    _fd = 0;
}

int PerfReader::open(const char* name)
{
    if (name == nullptr)
        return -1;
    _fd = ::open(name, O_RDONLY | O_LARGEFILE);
    return _fd > 0 ? 0 : -1;
}

void PerfReader::announceRead(int size)
{
    verbose(2, "PerfReader:size:%d\n", size);
    if (size > 2048 || size == 0)
        printf("Large reader size:%d\n", size);
}

int PerfReader::read(char* buffer, int size)
{
    announceRead(size);
    if (_fd <= 0)
        return -1;
    const size_t wanted = size < 0 ? 0 : (size_t)size;
    size_t copied = 0;
    ssize_t last = 0;
    while (copied < wanted) {
        if (_blockStart == _blockEnd) {
            if (_block.empty())
                _block.resize(kBlockSize);
            last = ::read(_fd, _block.data(), _block.size());
            if (last <= 0)
                break;
            _blockStart = 0;
            _blockEnd = (size_t)last;
        }
        size_t take = _blockEnd - _blockStart;
        if (take > wanted - copied)
            take = wanted - copied;
        memcpy(buffer + copied, _block.data() + _blockStart, take);
        _blockStart += take;
        copied += take;
    }
    _lastRead = copied > 0 ? (int)copied : (int)last;
    return _lastRead;
}

void PerfReader::close()
{
    if (_fd > 0)
        ::close(_fd);
}

bool PerfReader::status() { return _lastRead != 0; }

// A seek that fails, to a negative offset or on an input that cannot seek
// such as a pipe, leaves the position where it stood: reading goes on with
// the bytes already taken into the block.
void PerfReader::seek(int offset)
{
    if (_fd <= 0 || offset < 0)
        return;
    if (::lseek(_fd, (off_t)offset, SEEK_SET) >= 0)
        _blockStart = _blockEnd = 0;
}
