#include "NmRunner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <filesystem>

extern char** environ;

namespace {

std::string temporaryDirectory()
{
    std::error_code error;
    std::filesystem::path directory = std::filesystem::temp_directory_path(error);
    return error ? std::string("/tmp") : directory.string();
}

void writeAll(int fd, const std::string& text)
{
    size_t done = 0;
    while (done < text.size()) {
        ssize_t wrote = write(fd, text.data() + done, text.size() - done);
        if (wrote < 0 && errno == EINTR)
            continue;
        if (wrote <= 0)
            return;
        done += (size_t)wrote;
    }
}

std::terminate_handler gPreviousTerminate = nullptr;
std::thread::id gMainThread;

// A run that ends on an uncaught exception still passes on the error output
// of every nm it started, ahead of the exception's message.
[[noreturn]] void terminateAfterCollecting()
{
    if (std::this_thread::get_id() == gMainThread)
        NmRunner::instance().collectAll();
    if (gPreviousTerminate != nullptr)
        gPreviousTerminate();
    abort();
}

}  // namespace

NmRunner& NmRunner::instance()
{
    // Never destroyed: worker threads may still wait on it while the process exits.
    static NmRunner& runner = *new NmRunner();
    return runner;
}

void NmRunner::runInBackground(unsigned int workers)
{
    if (inBackground() || workers == 0)
        return;
    gMainThread = std::this_thread::get_id();
    gPreviousTerminate = std::set_terminate(terminateAfterCollecting);
    for (unsigned int i = 0; i < workers; i++)
        _workers.emplace_back([this] { _work(); });
}

size_t NmRunner::submit(const std::string& path)
{
    std::unique_lock<std::mutex> hold(_lock);
    _jobs.emplace_back();
    Job& job = _jobs.back();
    job.path = path;
    const size_t number = _firstJob + _jobs.size() - 1;
    if (inBackground()) {
        _changed.notify_all();
        return number;
    }
    _nextToStart = number + 1;
    _start(job, false);
    _finish(job);
    job.done = true;
    return number;
}

NmRunner::Listing NmRunner::collect(size_t job)
{
    std::unique_lock<std::mutex> hold(_lock);
    if (_jobs.empty() || job != _firstJob)
        return Listing();
    Job& oldest = _jobs.front();
    _changed.wait(hold, [&] { return oldest.done; });
    Listing listing = std::move(oldest.listing);
    std::string errors = std::move(oldest.errors);
    _jobs.pop_front();
    _firstJob++;
    hold.unlock();
    writeAll(STDERR_FILENO, errors);
    return listing;
}

void NmRunner::collectAll()
{
    for (;;) {
        size_t oldest;
        {
            std::lock_guard<std::mutex> hold(_lock);
            if (_jobs.empty())
                return;
            oldest = _firstJob;
        }
        (void)collect(oldest);
    }
}

void NmRunner::stop()
{
    collectAll();
    {
        std::lock_guard<std::mutex> hold(_lock);
        _stopping = true;
    }
    _changed.notify_all();
    for (std::thread& worker : _workers)
        worker.join();
    _workers.clear();
    std::lock_guard<std::mutex> hold(_lock);
    _stopping = false;
}

void NmRunner::_work()
{
    std::unique_lock<std::mutex> hold(_lock);
    for (;;) {
        _changed.wait(hold, [&] { return _stopping || _nextToStart < _firstJob + _jobs.size(); });
        if (_nextToStart >= _firstJob + _jobs.size())
            return;
        Job& job = _jobs[_nextToStart - _firstJob];
        _nextToStart++;
        // Started under the lock, so commands start in the order of submission.
        _start(job, true);
        hold.unlock();
        _finish(job);
        hold.lock();
        job.done = true;
        _changed.notify_all();
    }
}

// Starts nm with its standard output in a new private file, which is removed
// at once and read through the descriptor kept. No file, no nm: that is what
// a run without a writable temporary directory does. No shell is involved, so
// the path reaches nm as one argument whatever it holds.
void NmRunner::_start(Job& job, bool holdErrors)
{
    std::string listName = temporaryDirectory() + "/zelconv-nm-XXXXXX";
    int fd = mkstemp(listName.data());
    if (fd < 0)
        return;
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    unlink(listName.c_str());
    job.listFd = fd;
    job.listing.made = true;

    // A path found on the search path begins with "/" or with a directory the
    // user gave; should that begin with "-", nm must not take it for an option.
    std::string argument = !job.path.empty() && job.path[0] == '-' ? "./" + job.path : job.path;
    char nm[] = "nm";
    char options[] = "-nCg";
    char* argv[] = {nm, options, argument.data(), nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fd, STDOUT_FILENO);
    int errorPipe[2] = {-1, -1};
    if (holdErrors && pipe2(errorPipe, O_CLOEXEC) == 0)
        posix_spawn_file_actions_adddup2(&actions, errorPipe[1], STDERR_FILENO);
    pid_t child = -1;
    if (posix_spawnp(&child, "nm", &actions, nullptr, argv, environ) == 0)
        job.child = child;
    posix_spawn_file_actions_destroy(&actions);
    if (errorPipe[1] >= 0) {
        close(errorPipe[1]);
        job.errorFd = errorPipe[0];
    }
}

// Waits for the command, gathering its error output until it closes it, and reads its listing.
void NmRunner::_finish(Job& job)
{
    if (job.errorFd >= 0) {
        char block[4096];
        for (;;) {
            ssize_t got = read(job.errorFd, block, sizeof block);
            if (got > 0)
                job.errors.append(block, (size_t)got);
            else if (got == 0 || errno != EINTR)
                break;
        }
        close(job.errorFd);
        job.errorFd = -1;
    }
    if (job.child > 0) {
        int status = 0;
        while (waitpid(job.child, &status, 0) < 0 && errno == EINTR) {
        }
    }
    if (job.listFd >= 0) {
        lseek(job.listFd, 0, SEEK_SET);
        job.listing.text = ListingText::reading(job.listFd);
        job.listing.text.readAll();
        close(job.listFd);
        job.listFd = -1;
    }
}
