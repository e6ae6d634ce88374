#pragma once

#include <gpuruntime/random.hpp>

#include "lanes.hpp"
#include "random/state.hpp"

namespace gpucommon::rand {

/// Threefry-4x64 with 20 rounds, for neighbouring lanes at once.
struct ThreeFry4x64Generator {
    using WordLanes = gpuruntime::backend::WordLanes;

    static constexpr bool isCounterBased = true;
    static constexpr unsigned int placesPerBlock = 4;
    static constexpr unsigned long stateBytes = 17 * sizeof(unsigned int);

    unsigned long key[4];
    unsigned long counter[4];
    unsigned int subPosition;

    static GPU_DEVICE ThreeFry4x64Generator load() {
        auto const& word = RNGInitialState.word;
        auto const value = [&](unsigned int i) {
            return static_cast<unsigned long>(word[2 * i]) << 32 | word[2 * i + 1];
        };
        return {{value(0), value(1), value(2), value(3)},
                {value(4), value(5), value(6), value(7)},
                word[16] % placesPerBlock};
    }

    /// The four words of the block that lies `offset` after the counter.
    GPU_DEVICE void block(WordLanes offset, WordLanes (&words)[4]) const {
        using gpuruntime::backend::wordLanes;
        unsigned long const extended[5] = {key[0], key[1], key[2], key[3],
                                           key[0] ^ key[1] ^ key[2] ^ key[3] ^ 0x1BD11BDAA9FC1A22};
        WordLanes x0 = offset + counter[0];
        WordLanes x1 = plusCarry(counter[1], x0 < offset);
        WordLanes x2 = plusCarry(counter[2], (x0 < offset) & (x1 == 0));
        WordLanes x3 = plusCarry(counter[3], (x0 < offset) & (x1 == 0) & (x2 == 0));
        x0 += extended[0];
        x1 += extended[1];
        x2 += extended[2];
        x3 += extended[3];
        GPU_UNROLL
        for (unsigned int s = 1; s <= 5; ++s) {
            // Two halves of the eight rounds' rotations take turns.
            bool const first = s % 2 != 0;
            mix(x0, x1, first ? 14 : 25);
            mix(x2, x3, first ? 16 : 33);
            mix(x0, x3, first ? 52 : 46);
            mix(x2, x1, first ? 57 : 12);
            mix(x0, x1, first ? 23 : 58);
            mix(x2, x3, first ? 40 : 22);
            mix(x0, x3, first ? 5 : 32);
            mix(x2, x1, first ? 37 : 32);
            x0 += extended[s % 5];
            x1 += extended[(s + 1) % 5];
            x2 += extended[(s + 2) % 5];
            x3 += extended[(s + 3) % 5] + s;
        }
        words[0] = x0;
        words[1] = x1;
        words[2] = x2;
        words[3] = x3;
    }

    /// The block's 53-bit integers, the top of each word.
    GPU_DEVICE void integers(WordLanes offset, WordLanes (&values)[placesPerBlock]) const {
        block(offset, values);
        for (WordLanes& value : values) value >>= 11;
    }

  private:
    template <class Mask>
    static GPU_DEVICE WordLanes plusCarry(unsigned long word, Mask carry) {
        return carry ? gpuruntime::backend::wordLanes(word + 1) : gpuruntime::backend::wordLanes(word);
    }

    static GPU_DEVICE void mix(WordLanes& a, WordLanes& b, int rotation) {
        a += b;
        b = ((b << rotation) | (b >> (64 - rotation))) ^ a;
    }
};

}  // namespace gpucommon::rand
