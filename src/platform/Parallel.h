#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <thread>
#include <vector>

namespace platform {

// How many consecutive parts a loop over count items is cut into: one per
// core, but never parts so small that starting a thread costs more than it saves.
inline std::size_t PartsFor(std::size_t count, std::size_t leastPerPart = 16384) {
    const std::size_t cores = std::max(1u, std::thread::hardware_concurrency());
    return std::clamp<std::size_t>(count / std::max<std::size_t>(leastPerPart, 1), 1, cores);
}

// One value for each part, each on cache lines of its own: values that sat
// side by side would make the cores that write them wait on each other.
template <typename T> class PerPart {
public:
    explicit PerPart(std::size_t parts) : slots_(parts) {}
    T& operator[](std::size_t part) { return slots_[part].value; }
    const T& operator[](std::size_t part) const { return slots_[part].value; }
    std::size_t size() const { return slots_.size(); }

private:
    struct alignas(64) Slot {
        T value;
    };
    std::vector<Slot> slots_;
};

// Runs work(part, begin, end) for each of the parts of [0, count), the first
// on the calling thread and the others on threads of their own, and returns
// once all are done. The work must touch nothing shared but what it only
// reads; the results are put together in order by the caller. An exception
// thrown by a part is thrown again here, that of the first part first.
template <typename Work> void ForEachPart(std::size_t count, std::size_t parts, Work&& work) {
    parts = std::max<std::size_t>(1, std::min(parts, std::max<std::size_t>(count, 1)));
    std::vector<std::exception_ptr> errors(parts);
    auto run = [&](std::size_t part) {
        try {
            work(part, count * part / parts, count * (part + 1) / parts);
        } catch (...) {
            errors[part] = std::current_exception();
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(parts - 1);
    try {
        for (std::size_t part = 1; part < parts; ++part)
            threads.emplace_back(run, part);
    } catch (...) {
        // No thread to be had: the parts not started run here.
        for (std::size_t part = threads.size() + 1; part < parts; ++part)
            run(part);
    }
    run(0);
    for (std::thread& thread : threads)
        thread.join();
    for (const std::exception_ptr& error : errors) {
        if (error)
            std::rethrow_exception(error);
    }
}

// Runs work(chunk, begin, end) for each chunk of chunkSize items of [0, count)
// on up to threads threads, the calling one among them, each taking the next
// chunk not yet taken: a thread slowed down by others does fewer, so all end
// together, and the calling thread (which may be telling the progress) never
// waits long for the others. Returns once all are done; errors as ForEachPart.
template <typename Work>
void ForEachChunk(std::size_t count, std::size_t chunkSize, std::size_t threads, Work&& work) {
    chunkSize = std::max<std::size_t>(chunkSize, 1);
    const std::size_t chunks = (count + chunkSize - 1) / chunkSize;
    std::vector<std::exception_ptr> errors(chunks);
    std::atomic<std::size_t> next{0};
    ForEachPart(threads, threads, [&](std::size_t, std::size_t, std::size_t) {
        for (std::size_t chunk; (chunk = next.fetch_add(1)) < chunks;) {
            try {
                work(chunk, chunk * chunkSize, std::min(count, (chunk + 1) * chunkSize));
            } catch (...) {
                errors[chunk] = std::current_exception();
            }
        }
    });
    for (const std::exception_ptr& error : errors) {
        if (error)
            std::rethrow_exception(error);
    }
}

} // namespace platform
