// Per-layer buckets of one kind of data, created on first use, found in constant time by layer
// index and walked in ascending layer order. Small when few layers are used, as in most blocks.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <utility>
#include <vector>

namespace vistrel {

template <typename T>
class LayerBuckets {
  public:
    // The bucket of `layer` (>= 0), made empty on first use.
    T& at(int layer) {
        assert(layer >= 0);
        if (size_t(layer) >= slots_.size()) slots_.resize(size_t(layer) + 1, -1);
        int32_t& s = slots_[size_t(layer)];
        if (s < 0) {
            s = int32_t(entries_.size());
            entries_.emplace_back(layer, T{});
        }
        return entries_[size_t(s)].second;
    }

    bool empty() const { return entries_.empty(); }
    void clear() {
        entries_.clear();
        slots_.clear();
    }

    // Entries in ascending layer order.
    std::vector<std::pair<int, T>>& sorted() {
        if (!std::is_sorted(entries_.begin(), entries_.end(), byLayer)) {
            std::sort(entries_.begin(), entries_.end(), byLayer);
            for (size_t i = 0; i < entries_.size(); ++i)
                slots_[size_t(entries_[i].first)] = int32_t(i);
        }
        return entries_;
    }
    std::vector<std::pair<int, T>>& entries() { return entries_; }
    const std::vector<std::pair<int, T>>& entries() const { return entries_; }

  private:
    static bool byLayer(const std::pair<int, T>& a, const std::pair<int, T>& b) {
        return a.first < b.first;
    }
    std::vector<std::pair<int, T>> entries_;
    std::vector<int32_t> slots_;
};

}  // namespace vistrel
