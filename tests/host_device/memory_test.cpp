// Allocation, copies, fills and device symbols.

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <thread>
#include <vector>

#include "host_device_fixture.hpp"
#include "kernel.hpp"

namespace {

using gpuruntime::hostdevice::Limits;
using gpuruntime::hostdevice::setLimits;
using gpuruntime::hostdevice::SymbolRegistration;

// An address that cudaStreamCreate never gives.
int notAStream;
cudaStream_t const unknownStream = reinterpret_cast<cudaStream_t>(&notAStream);

class Memory : public HostDevice {};

TEST_F(Memory, isAlignedAndWritable) {
    for (size_t size : {1, 255, 256, 257, 100000}) {
        unsigned char* memory = nullptr;
        ASSERT_EQ(cudaMalloc(&memory, size), cudaSuccess);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 256, 0U);
        EXPECT_EQ(cudaMemset(memory, 0xa5, size), cudaSuccess);
        EXPECT_EQ(memory[0], 0xa5);
        EXPECT_EQ(memory[size - 1], 0xa5);
        EXPECT_EQ(cudaFree(memory), cudaSuccess);
    }
}

TEST_F(Memory, ofNoBytesIsNull) {
    int object;
    void* memory = &object;
    EXPECT_EQ(cudaMalloc(&memory, 0), cudaSuccess);
    EXPECT_EQ(memory, nullptr);
}

TEST_F(Memory, nullResultIsInvalid) {
    EXPECT_EQ(cudaMalloc(static_cast<void**>(nullptr), 8), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMalloc(static_cast<double**>(nullptr), 8), cudaErrorInvalidValue);
}

TEST_F(Memory, beyondTheDevicesIsRefused) {
    int object;
    void* memory = &object;
    EXPECT_EQ(cudaMalloc(&memory, std::numeric_limits<size_t>::max()), cudaErrorMemoryAllocation);
    EXPECT_EQ(memory, &object);
    EXPECT_EQ(cudaGetLastError(), cudaErrorMemoryAllocation);
}

TEST_F(Memory, freedBytesCanBeGivenAgain) {
    Limits limits;
    limits.totalGlobalMem = 1000;
    setLimits(limits);
    void* first = nullptr;
    void* second = nullptr;
    ASSERT_EQ(cudaMalloc(&first, 600), cudaSuccess);
    EXPECT_EQ(cudaMalloc(&second, 401), cudaErrorMemoryAllocation);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(cudaMalloc(&second, 400), cudaSuccess);
    EXPECT_EQ(cudaFree(first), cudaSuccess);
    EXPECT_EQ(cudaFree(second), cudaSuccess);
    EXPECT_EQ(cudaMalloc(&first, 1000), cudaSuccess);
    EXPECT_EQ(cudaFree(first), cudaSuccess);
}

TEST_F(Memory, canBeFreedOnlyOnceAndByItsStart) {
    char* memory = nullptr;
    int object;
    ASSERT_EQ(cudaMalloc(&memory, 512), cudaSuccess);
    EXPECT_EQ(cudaFree(memory + 256), cudaErrorInvalidValue);
    EXPECT_EQ(cudaFree(&object), cudaErrorInvalidValue);
    EXPECT_EQ(cudaFree(nullptr), cudaSuccess);
    EXPECT_EQ(cudaFree(memory), cudaSuccess);
    EXPECT_EQ(cudaFree(memory), cudaErrorInvalidValue);
}

TEST_F(Memory, isGivenToSeveralThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (unsigned char pattern = 1; pattern <= 4; ++pattern) {
        threads.emplace_back([pattern] {
            for (int i = 0; i < 200; ++i) {
                unsigned char* memory = nullptr;
                ASSERT_EQ(cudaMalloc(&memory, 300), cudaSuccess);
                ASSERT_EQ(cudaMemset(memory, pattern, 300), cudaSuccess);
                ASSERT_EQ(memory[0], pattern);
                ASSERT_EQ(memory[299], pattern);
                ASSERT_EQ(cudaFree(memory), cudaSuccess);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class Copy : public HostDevice {
  protected:
    std::array<int, 4> const source_{1, 2, 3, 4};
    std::array<int, 4> destination_{-1, -1, -1, -1};
};

TEST_F(Copy, movesTheBytesAskedForInEveryDirection) {
    for (int kind = 0; kind <= 4; ++kind) {
        destination_ = {-1, -1, -1, -1};
        EXPECT_EQ(cudaMemcpy(destination_.data(), source_.data(), 3 * sizeof(int),
                             static_cast<cudaMemcpyKind>(kind)),
                  cudaSuccess);
        EXPECT_EQ(destination_, (std::array{1, 2, 3, -1}));
    }
}

TEST_F(Copy, asynchronousOneIsDoneAtReturn) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    EXPECT_EQ(
        cudaMemcpyAsync(destination_.data(), source_.data(), sizeof source_, cudaMemcpyDeviceToHost, stream),
        cudaSuccess);
    EXPECT_EQ(destination_, source_);
    EXPECT_EQ(cudaStreamDestroy(stream), cudaSuccess);
}

TEST_F(Copy, otherKindIsInvalidAndCopiesNothing) {
    for (int kind : {5, 7}) {
        EXPECT_EQ(cudaMemcpy(destination_.data(), source_.data(), sizeof source_,
                             static_cast<cudaMemcpyKind>(kind)),
                  cudaErrorInvalidMemcpyDirection);
    }
    EXPECT_EQ(destination_, (std::array{-1, -1, -1, -1}));
}

TEST_F(Copy, nullPointerIsInvalid) {
    EXPECT_EQ(cudaMemcpy(nullptr, source_.data(), 4, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpy(destination_.data(), nullptr, 4, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemset(nullptr, 0, 4), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemsetAsync(nullptr, 0, 4, nullptr), cudaErrorInvalidValue);
}

TEST_F(Copy, bytesBeyondTheEndOfTheirBlockAreInvalidAndChangeNothing) {
    constexpr size_t largest = std::numeric_limits<size_t>::max();
    std::array<char*, 3> blocks{};
    for (char*& block : blocks) {
        ASSERT_EQ(cudaMalloc(&block, 16), cudaSuccess);
        ASSERT_EQ(cudaMemset(block, 7, 16), cudaSuccess);
    }
    for (char* const block : blocks) {
        EXPECT_EQ(cudaMemcpy(block + 4, source_.data(), 13, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
        EXPECT_EQ(cudaMemcpyAsync(block + 15, source_.data(), 2, cudaMemcpyHostToDevice, nullptr),
                  cudaErrorInvalidValue);
        EXPECT_EQ(cudaMemcpy(destination_.data(), block + 4, 13, cudaMemcpyDeviceToHost),
                  cudaErrorInvalidValue);
        EXPECT_EQ(cudaMemcpy(blocks[0], block, 17, cudaMemcpyDeviceToDevice), cudaErrorInvalidValue);
        EXPECT_EQ(cudaMemcpy(destination_.data(), block + 1, largest, cudaMemcpyDefault),
                  cudaErrorInvalidValue);
        EXPECT_EQ(cudaMemset(block, 0, 17), cudaErrorInvalidValue);
        EXPECT_EQ(cudaMemsetAsync(block + 15, 0, 2, nullptr), cudaErrorInvalidValue);
        EXPECT_TRUE(std::all_of(block, block + 16, [](char byte) { return byte == 7; }));
    }
    EXPECT_EQ(destination_, (std::array{-1, -1, -1, -1}));
    for (char* const block : blocks) {
        EXPECT_EQ(cudaFree(block), cudaSuccess);
    }
}

TEST_F(Copy, bytesUpToTheEndOfTheirBlockAreCopied) {
    char* block = nullptr;
    ASSERT_EQ(cudaMalloc(&block, 16), cudaSuccess);
    EXPECT_EQ(cudaMemcpy(block, source_.data(), 16, cudaMemcpyHostToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemset(block + 12, 0, 4), cudaSuccess);
    EXPECT_EQ(cudaMemcpy(destination_.data() + 2, block + 8, 8, cudaMemcpyDeviceToHost), cudaSuccess);
    EXPECT_EQ(destination_, (std::array{-1, -1, 3, 0}));
    EXPECT_EQ(cudaFree(block), cudaSuccess);
}

TEST_F(Copy, ofNoBytesSucceeds) {
    EXPECT_EQ(cudaMemcpy(nullptr, nullptr, 0, cudaMemcpyHostToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemcpyAsync(nullptr, nullptr, 0, cudaMemcpyHostToDevice, nullptr), cudaSuccess);
    EXPECT_EQ(cudaMemset(nullptr, 0, 0), cudaSuccess);
    EXPECT_EQ(cudaMemsetAsync(nullptr, 0, 0, nullptr), cudaSuccess);
}

TEST_F(Copy, unknownStreamIsInvalidAndCopiesNothing) {
    EXPECT_EQ(cudaMemcpyAsync(destination_.data(), source_.data(), 4, cudaMemcpyHostToDevice, unknownStream),
              cudaErrorInvalidResourceHandle);
    EXPECT_EQ(cudaMemsetAsync(destination_.data(), 0, 4, unknownStream), cudaErrorInvalidResourceHandle);
    EXPECT_EQ(destination_, (std::array{-1, -1, -1, -1}));
}

TEST_F(Copy, fillTakesTheLowByte) {
    EXPECT_EQ(cudaMemset(destination_.data(), 0x1234, 4), cudaSuccess);
    EXPECT_EQ(destination_, (std::array{0x34343434, -1, -1, -1}));
    EXPECT_EQ(cudaMemsetAsync(destination_.data() + 2, 0, 4), cudaSuccess);
    EXPECT_EQ(destination_, (std::array{0x34343434, -1, 0, -1}));
}

int table[4];
SymbolRegistration const tableRegistration(&table, sizeof table, "table");
int unregistered[4];

class Symbols : public HostDevice {
  protected:
    Symbols() {
        for (int i = 0; i < 4; ++i) {
            table[i] = 10 * (i + 1);
        }
    }

    static void expectTable(int first, int second, int third, int fourth) {
        EXPECT_EQ(table[0], first);
        EXPECT_EQ(table[1], second);
        EXPECT_EQ(table[2], third);
        EXPECT_EQ(table[3], fourth);
    }

    std::array<int, 4> const source_{1, 2, 3, 4};
    std::array<int, 4> destination_{-1, -1, -1, -1};
};

TEST_F(Symbols, areWrittenFromTheOffsetOn) {
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 8), cudaSuccess);
    expectTable(1, 2, 30, 40);
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 4, 12), cudaSuccess);
    expectTable(1, 2, 30, 1);
    EXPECT_EQ(cudaMemcpyToSymbolAsync(table, source_.data() + 1, 8, 4), cudaSuccess);
    expectTable(1, 2, 3, 1);
}

TEST_F(Symbols, areReadFromTheOffsetOn) {
    EXPECT_EQ(cudaMemcpyFromSymbol(destination_.data(), table, 8), cudaSuccess);
    EXPECT_EQ(destination_, (std::array{10, 20, -1, -1}));
    EXPECT_EQ(cudaMemcpyFromSymbolAsync(destination_.data(), table, 8, 8, cudaMemcpyDeviceToHost, nullptr),
              cudaSuccess);
    EXPECT_EQ(destination_, (std::array{30, 40, -1, -1}));
}

TEST_F(Symbols, areCopiedWhollyAtMost) {
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 16), cudaSuccess);
    expectTable(1, 2, 3, 4);
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 0, 16), cudaSuccess);
}

TEST_F(Symbols, bytesBeyondTheEndAreInvalidAndCopyNothing) {
    constexpr size_t largest = std::numeric_limits<size_t>::max();
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 17), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 8, 12), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 0, 17), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 4, largest - 3), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), largest, 4), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpyFromSymbol(destination_.data(), table, 8, 12), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpyFromSymbolAsync(destination_.data(), table, 4, largest - 3), cudaErrorInvalidValue);
    expectTable(10, 20, 30, 40);
    EXPECT_EQ(destination_, (std::array{-1, -1, -1, -1}));
}

TEST_F(Symbols, areNotCopiedBeyondTheEndOfABlock) {
    char* block = nullptr;
    ASSERT_EQ(cudaMalloc(&block, 6), cudaSuccess);
    ASSERT_EQ(cudaMemset(block, 7, 6), cudaSuccess);
    EXPECT_EQ(cudaMemcpyToSymbol(table, block, 8), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpyFromSymbol(block + 4, table, 4), cudaErrorInvalidValue);
    expectTable(10, 20, 30, 40);
    EXPECT_TRUE(std::all_of(block, block + 6, [](char byte) { return byte == 7; }));
    EXPECT_EQ(cudaFree(block), cudaSuccess);
}

TEST_F(Symbols, acceptTheKindsOfTheirDirection) {
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 4, 0, cudaMemcpyHostToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 4, 0, cudaMemcpyDeviceToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 4, 0, cudaMemcpyDefault), cudaSuccess);
    EXPECT_EQ(cudaMemcpyFromSymbol(destination_.data(), table, 4, 0, cudaMemcpyDeviceToHost), cudaSuccess);
    EXPECT_EQ(cudaMemcpyFromSymbol(destination_.data(), table, 4, 0, cudaMemcpyDeviceToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemcpyFromSymbol(destination_.data(), table, 4, 0, cudaMemcpyDefault), cudaSuccess);
}

TEST_F(Symbols, refuseOtherKindsAndCopyNothing) {
    for (int kind : {0, 2, 5, 7}) {
        EXPECT_EQ(cudaMemcpyToSymbol(table, source_.data(), 4, 0, static_cast<cudaMemcpyKind>(kind)),
                  cudaErrorInvalidMemcpyDirection);
    }
    for (int kind : {0, 1, 5, 7}) {
        EXPECT_EQ(cudaMemcpyFromSymbol(destination_.data(), table, 4, 0, static_cast<cudaMemcpyKind>(kind)),
                  cudaErrorInvalidMemcpyDirection);
    }
    expectTable(10, 20, 30, 40);
    EXPECT_EQ(destination_, (std::array{-1, -1, -1, -1}));
}

TEST_F(Symbols, otherAddressIsNone) {
    EXPECT_EQ(cudaMemcpyToSymbol(unregistered, source_.data(), 4), cudaErrorInvalidSymbol);
    EXPECT_EQ(cudaMemcpyToSymbol(table[1], source_.data(), 4), cudaErrorInvalidSymbol);
    EXPECT_EQ(cudaMemcpyFromSymbol(destination_.data(), unregistered, 4), cudaErrorInvalidSymbol);
    EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidSymbol);
    EXPECT_EQ(destination_, (std::array{-1, -1, -1, -1}));
}

TEST_F(Symbols, nullPointerIsInvalid) {
    EXPECT_EQ(cudaMemcpyToSymbol(table, nullptr, 4), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpyFromSymbol(nullptr, table, 4), cudaErrorInvalidValue);
}

TEST_F(Symbols, unknownStreamIsInvalidAndCopiesNothing) {
    EXPECT_EQ(cudaMemcpyToSymbolAsync(table, source_.data(), 4, 0, cudaMemcpyHostToDevice, unknownStream),
              cudaErrorInvalidResourceHandle);
    EXPECT_EQ(
        cudaMemcpyFromSymbolAsync(destination_.data(), table, 4, 0, cudaMemcpyDeviceToHost, unknownStream),
        cudaErrorInvalidResourceHandle);
    expectTable(10, 20, 30, 40);
    EXPECT_EQ(destination_, (std::array{-1, -1, -1, -1}));
}

TEST_F(Symbols, haveAddressAndSize) {
    void* address = nullptr;
    size_t size = 0;
    EXPECT_EQ(cudaGetSymbolAddress(&address, table), cudaSuccess);
    EXPECT_EQ(address, &table);
    EXPECT_EQ(cudaGetSymbolSize(&size, table), cudaSuccess);
    EXPECT_EQ(size, 16U);
}

TEST_F(Symbols, addressAndSizeNeedSymbolAndResult) {
    void* address = nullptr;
    size_t size = 7;
    EXPECT_EQ(cudaGetSymbolAddress(&address, unregistered), cudaErrorInvalidSymbol);
    EXPECT_EQ(cudaGetSymbolSize(&size, unregistered), cudaErrorInvalidSymbol);
    EXPECT_EQ(cudaGetSymbolAddress(nullptr, table), cudaErrorInvalidValue);
    EXPECT_EQ(cudaGetSymbolSize(nullptr, table), cudaErrorInvalidValue);
    EXPECT_EQ(address, nullptr);
    EXPECT_EQ(size, 7U);
}

TEST_F(Symbols, lastAsLongAsTheirRegistration) {
    double flag = 0;
    double const value = 2.5;
    {
        SymbolRegistration const registration(&flag, sizeof flag, "flag");
        EXPECT_EQ(cudaMemcpyToSymbol(flag, &value, sizeof value), cudaSuccess);
        EXPECT_EQ(flag, 2.5);
    }
    EXPECT_EQ(cudaMemcpyToSymbol(flag, &value, sizeof value), cudaErrorInvalidSymbol);
}

}  // namespace
