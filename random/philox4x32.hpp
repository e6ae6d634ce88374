#pragma once

#include <gpuruntime/random.hpp>

#include "lanes.hpp"
#include "random/state.hpp"

namespace gpucommon::rand {

/// Philox-4x32 with 10 rounds, for neighbouring lanes at once. Words of 32 bits stand in lanes of 64, whose
/// upper halves hold anything until a word is given out: the products read the lower ones alone.
struct Philox4x32Generator {
    using WordLanes = gpuruntime::backend::WordLanes;

    static constexpr bool isCounterBased = true;
    static constexpr unsigned int placesPerBlock = 2;
    static constexpr unsigned long stateBytes = 7 * sizeof(unsigned int);

    unsigned int key[2];
    unsigned int counter[4];
    unsigned int subPosition;

    static GPU_DEVICE Philox4x32Generator load() {
        auto const& word = RNGInitialState.word;
        return {{word[0], word[1]}, {word[2], word[3], word[4], word[5]}, word[6] % placesPerBlock};
    }

    /// The four words of the block that lies `offset` after the counter; `offset` is below 2^32.
    GPU_DEVICE void block(WordLanes offset, WordLanes (&words)[4]) const {
        using gpuruntime::backend::wideProduct;
        using gpuruntime::backend::wordLanes;
        // Each sum's upper half is the carry into the next word.
        WordLanes r0 = offset + counter[0];
        WordLanes r1 = (r0 >> 32) + counter[1];
        WordLanes r2 = (r1 >> 32) + counter[2];
        WordLanes r3 = (r2 >> 32) + counter[3];
        WordLanes const multiplier0 = wordLanes(0xD2511F53), multiplier1 = wordLanes(0xCD9E8D57);
        WordLanes key0 = wordLanes(key[0]), key1 = wordLanes(key[1]);
        GPU_UNROLL
        for (int round = 0; round < 10; ++round) {
            WordLanes const product0 = wideProduct(multiplier0, r0);
            WordLanes const product1 = wideProduct(multiplier1, r2);
            r0 = (product1 >> 32) ^ r1 ^ key0;
            r1 = product1;
            r2 = (product0 >> 32) ^ r3 ^ key1;
            r3 = product0;
            key0 += 0x9E3779B9;
            key1 += 0xBB67AE85;
        }
        words[0] = r0 & 0xffffffff;
        words[1] = r1 & 0xffffffff;
        words[2] = r2 & 0xffffffff;
        words[3] = r3 & 0xffffffff;
    }

    /// The block's 53-bit integers. The upper word's low bits meet the lower word's high bits in an exclusive
    /// or.
    GPU_DEVICE void integers(WordLanes offset, WordLanes (&values)[placesPerBlock]) const {
        WordLanes words[4];
        block(offset, words);
        values[0] = (words[0] << 21) ^ words[1];
        values[1] = (words[2] << 21) ^ words[3];
    }
};

}  // namespace gpucommon::rand
