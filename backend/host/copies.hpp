#pragma once

/// Copies that kernels leave to the thread that runs their blocks, so that what neighbouring rows and blocks
/// copy becomes one run of memory.
namespace gpuruntime::backend {

/// A copy that is yet to be made.
struct PendingCopy {
    unsigned char* to;
    unsigned char const* from;
    unsigned long size;
    bool streamed;
};

/// This thread's; initial-exec, as what it knows of the running block.
extern __thread PendingCopy pendingCopy __attribute__((tls_model("initial-exec")));

/// Makes the copy that is pending. Whoever runs blocks calls it after the last one.
void finishCopies();

/// Copies memory that does not overlap, and that no kernel of this launch writes or reads otherwise, sooner
/// or later: a copy that goes on where the pending one ends is joined with it. `streamed` is past the caches.
inline void copyLater(void* to, void const* from, unsigned long size, bool streamed) {
    PendingCopy& pending = pendingCopy;
    if (to != pending.to + pending.size || from != pending.from + pending.size ||
        streamed != pending.streamed) {
        finishCopies();
        pending = {static_cast<unsigned char*>(to), static_cast<unsigned char const*>(from), 0, streamed};
    }
    pending.size += size;
}

}  // namespace gpuruntime::backend
