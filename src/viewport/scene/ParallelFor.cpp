#include "scene/ParallelFor.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace vistrel::viewport {

void parallelFor(size_t count, const std::function<void(size_t)>& body) {
    if (count == 0) return;
    size_t workers = std::min<size_t>(count, std::max(1u, std::thread::hardware_concurrency()));
    if (workers == 1) {
        for (size_t i = 0; i < count; ++i) body(i);
        return;
    }
    std::atomic<size_t> next{0};
    auto run = [&] {
        for (size_t i = next.fetch_add(1); i < count; i = next.fetch_add(1)) body(i);
    };
    std::vector<std::thread> threads;
    threads.reserve(workers - 1);
    for (size_t w = 1; w < workers; ++w) threads.emplace_back(run);
    run();
    for (auto& t : threads) t.join();
}

}  // namespace vistrel::viewport
