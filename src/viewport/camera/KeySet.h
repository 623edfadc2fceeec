// The set of 16-bit virtual key codes now held. Fixed size, so that holding and releasing keys
// never allocates.
#pragma once

#include <bitset>
#include <cstdint>
#include <initializer_list>

namespace vistrel::viewport {

class KeySet {
  public:
    KeySet() = default;
    KeySet(std::initializer_list<std::uint16_t> codes) {
        for (auto c : codes) insert(c);
    }
    void insert(std::uint16_t code) { bits_.set(code); }
    void erase(std::uint16_t code) { bits_.reset(code); }
    void clear() { bits_.reset(); }
    bool contains(std::uint16_t code) const { return bits_.test(code); }
    bool empty() const { return bits_.none(); }
    friend bool operator==(const KeySet&, const KeySet&) = default;

  private:
    std::bitset<65536> bits_;
};

}  // namespace vistrel::viewport
