#pragma once

#include <cuda_runtime.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "tests/support/elements.hpp"

namespace gpuruntime::testing {

/// An array in device memory between two guard zones. Everything starts as a poison pattern; on destruction
/// the guards must still hold it. Contents move by copies of the runtime only, so tests run on every device.
template <class T>
class DeviceArray {
  public:
    explicit DeviceArray(std::size_t size) : size_(size) {
        std::vector<unsigned char> const poisoned(bytes() + 2 * guard, poison);
        EXPECT_EQ(cudaSuccess, cudaMalloc(&memory, poisoned.size()));
        EXPECT_EQ(cudaSuccess, cudaMemcpy(memory, poisoned.data(), poisoned.size(), cudaMemcpyHostToDevice));
    }

    DeviceArray(Elements<T> const& values) : DeviceArray(values.size()) { set(values); }

    DeviceArray(std::initializer_list<T> values) : DeviceArray(Elements<T>(values.begin(), values.end())) {}

    DeviceArray(DeviceArray const&) = delete;
    DeviceArray& operator=(DeviceArray const&) = delete;

    ~DeviceArray() {
        EXPECT_TRUE(guardsHold()) << "a write outside the array";
        EXPECT_EQ(cudaSuccess, cudaFree(memory));
    }

    T* data() { return reinterpret_cast<T*>(memory + guard); }
    std::size_t size() const { return size_; }

    void set(Elements<T> const& values) {
        ASSERT_EQ(size_, values.size());
        EXPECT_EQ(cudaSuccess, cudaMemcpy(memory + guard, values.data(), bytes(), cudaMemcpyHostToDevice));
    }

    /// The contents, once the device has finished.
    Elements<T> values() const {
        Elements<T> result(size_);
        EXPECT_EQ(cudaSuccess, cudaDeviceSynchronize());
        EXPECT_EQ(cudaSuccess, cudaMemcpy(result.data(), memory + guard, bytes(), cudaMemcpyDeviceToHost));
        return result;
    }

    /// Whether no byte was written since construction.
    bool untouched() const { return isPoison(guard, bytes()); }

    bool guardsHold() const { return isPoison(0, guard) && isPoison(guard + bytes(), guard); }

  private:
    static constexpr std::size_t guard = 4096;
    static constexpr unsigned char poison = 0xa5;

    std::size_t bytes() const { return size_ * sizeof(T); }

    bool isPoison(std::size_t offset, std::size_t count) const {
        std::vector<unsigned char> copy(count);
        EXPECT_EQ(cudaSuccess, cudaDeviceSynchronize());
        EXPECT_EQ(cudaSuccess, cudaMemcpy(copy.data(), memory + offset, count, cudaMemcpyDeviceToHost));
        for (unsigned char byte : copy) {
            if (byte != poison) return false;
        }
        return true;
    }

    std::size_t size_;
    unsigned char* memory = nullptr;
};

/// Asserts equality element by element, telling the first place that differs.
template <class E, class Equal>
void expectEach(std::vector<E> const& expected, std::vector<E> const& actual, Equal equal) {
    ASSERT_EQ(expected.size(), actual.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_TRUE(equal(expected[i], actual[i]))
            << "at " << i << " of " << expected.size() << ": expected "
            << ::testing::PrintToString(expected[i]) << ", got " << ::testing::PrintToString(actual[i]);
    }
}

template <class E>
void expectSameBits(std::vector<E> const& expected, std::vector<E> const& actual) {
    expectEach(expected, actual, [](E const& a, E const& b) { return sameBits(a, b); });
}

/// As `expectSameBits`, but any NaN equals any other.
template <class E>
void expectSameValues(std::vector<E> const& expected, std::vector<E> const& actual) {
    expectEach(expected, actual, [](E const& a, E const& b) { return sameValue(a, b); });
}

}  // namespace gpuruntime::testing
