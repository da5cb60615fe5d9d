// Runs "nm -nCg PATH" for the symbol loader, with its standard output in a
// private temporary file. Commands run one at a time, each to its end when it
// is submitted; or, once runInBackground is called, up to a number at once
// on worker threads, started in the order they were submitted, while the
// conversion goes on. A background command's error output is held back and
// passed on when its listing is collected, and listings are collected in the
// order of submission, so standard error reads as when each command ran to
// its end in turn.
#ifndef ZELCONV_NMRUNNER_H
#define ZELCONV_NMRUNNER_H

#include <sys/types.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ListingText.h"

class NmRunner {
public:
    struct Listing {
        bool made = false;  // the list file could be made, so nm was started
        ListingText text;
    };

    static NmRunner& instance();

    // From now on commands run on up to `workers` threads, one command each.
    void runInBackground(unsigned int workers);
    bool inBackground() const { return !_workers.empty(); }
    // Runs, or queues, nm over `path`; returns the command's number.
    size_t submit(const std::string& path);
    // Waits for command `job`, which must be the oldest not yet collected,
    // passes on what it wrote to standard error, and hands over its listing.
    Listing collect(size_t job);
    // Collects every command not yet collected, dropping the listings.
    void collectAll();
    // Collects everything and ends the worker threads; commands run one at a
    // time again afterwards.
    void stop();

private:
    struct Job {
        std::string path;
        bool done = false;
        pid_t child = -1;
        int listFd = -1;
        int errorFd = -1;  // read end of the held-back error output
        std::string errors;
        Listing listing;
    };

    NmRunner() = default;
    void _start(Job& job, bool holdErrors);
    static void _finish(Job& job);
    void _work();

    std::mutex _lock;
    std::condition_variable _changed;
    std::deque<Job> _jobs;  // from the oldest not collected on
    size_t _firstJob = 0;   // number of _jobs.front()
    size_t _nextToStart = 0;
    bool _stopping = false;
    std::vector<std::thread> _workers;
};

#endif
