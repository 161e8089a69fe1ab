#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace pyrelux::fuzz {

/// A fuzzer's input, taken apart value by value; zeros after its end.
class FuzzBytes {
 public:
  FuzzBytes(const std::uint8_t *data, std::size_t size) : data_(data), left_(size) {}

  bool empty() const { return left_ == 0; }

  std::uint8_t byte() {
    if (left_ == 0) return 0;
    --left_;
    return *data_++;
  }

  /// 0 .. count - 1.
  int below(int count) { return byte() % count; }
  /// True once in so many; false after the end.
  bool chance(int oneIn) { return left_ > 0 && below(oneIn) == 0; }

  /// Any bits as a number.
  template <typename Number>
  Number any() {
    std::uint8_t bytes[sizeof(Number)] = {};
    const std::size_t count = std::min(left_, sizeof bytes);
    if (count > 0) std::memcpy(bytes, data_, count);
    data_ += count;
    left_ -= count;
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
  }

  /// One of the numbers that tell mistakes apart, or any bits.
  template <typename Number, std::size_t count>
  Number oneOf(const Number (&numbers)[count]) {
    const auto index = static_cast<std::size_t>(byte()) % (count + 1);
    return index < count ? numbers[index] : any<Number>();
  }

  template <typename Element, std::size_t count>
  Element pick(const Element (&elements)[count]) {
    return elements[static_cast<std::size_t>(byte()) % count];
  }

 private:
  const std::uint8_t *data_;
  std::size_t left_;
};

}  // namespace pyrelux::fuzz
