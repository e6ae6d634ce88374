// Limits, injected failures and recordings.

#include <algorithm>
#include <deque>
#include <mutex>

#include "call.hpp"
#include "host_device.hpp"
#include "kernel.hpp"

namespace gpuruntime::hostdevice {
namespace detail {

std::atomic<std::size_t> observers{0};

struct Failure {
    std::string callName;
    cudaError status;
    unsigned int after;
};

/// Everything that the control interface sets, under one mutex.
struct Control {
    std::mutex mutex;
    std::vector<Failure> failures;
    std::vector<Recording*> recordings;

    static Control& instance() {
        static Control control;
        return control;
    }

    void countObservers() { observers.store(failures.size() + recordings.size(), std::memory_order_relaxed); }

    void append(Call const& call) {
        for (Recording* recording : recordings) {
            recording->calls_.push_back(call);
        }
    }

    void append(Launch const& launch) {
        for (Recording* recording : recordings) {
            recording->launches_.push_back(launch);
        }
    }

    /// Appends what `describe` returns to all recordings.
    template <class Describe>
    static void record(Describe const& describe) {
        try {
            Control& control = instance();
            std::lock_guard const lock(control.mutex);
            control.append(describe());
        } catch (std::bad_alloc const&) {
        }
    }
};

namespace {

/// All limits ever set, the last in force. The earlier ones stay, because calls in other threads may be
/// reading them.
struct LimitsHistory {
    std::mutex mutex;
    std::deque<Limits> all{Limits{}};
    std::atomic<Limits const*> current{&all.back()};

    static LimitsHistory& instance() {
        static LimitsHistory history;
        return history;
    }
};

}  // namespace

std::optional<cudaError> takeFailure(std::string_view callName) {
    Control& control = Control::instance();
    std::lock_guard const lock(control.mutex);
    std::optional<cudaError> status;
    for (auto failure = control.failures.begin(); failure != control.failures.end();) {
        bool const matches = failure->callName == "*" || failure->callName == callName;
        if (matches && failure->after == 0) {
            status = status.value_or(failure->status);
            failure = control.failures.erase(failure);
        } else {
            failure->after -= matches ? 1 : 0;
            ++failure;
        }
    }
    control.countObservers();
    return status;
}

void recordCall(char const* callName, CallDetails const& details, cudaError status) {
    std::string_view const symbol = details.kernel != nullptr   ? details.kernel->name
                                    : details.symbol != nullptr ? symbolName(details.symbol)
                                                                : std::string_view{};
    Control::record([&] {
        return Call{callName, status, details.stream, details.bytes, std::string(symbol)};
    });
}

void recordLaunch(Kernel const* kernel, dim3 grid, dim3 block, cudaStream_t stream, cudaError status) {
    Control::record([&] {
        return Launch{kernel != nullptr ? kernel->name : "", grid, block, stream, status};
    });
}

Limits const& currentLimits() { return *LimitsHistory::instance().current.load(std::memory_order_acquire); }

}  // namespace detail

Limits limits() { return detail::currentLimits(); }

void setLimits(Limits const& limits) {
    detail::LimitsHistory& history = detail::LimitsHistory::instance();
    std::lock_guard const lock(history.mutex);
    history.all.push_back(limits);
    history.current.store(&history.all.back(), std::memory_order_release);
}

void failNextCall(std::string_view callName, cudaError status, unsigned int after) {
    detail::Control& control = detail::Control::instance();
    std::lock_guard const lock(control.mutex);
    control.failures.push_back({std::string(callName), status, after});
    control.countObservers();
}

std::size_t clearFailures() {
    detail::Control& control = detail::Control::instance();
    std::lock_guard const lock(control.mutex);
    std::size_t const numPending = control.failures.size();
    control.failures.clear();
    control.countObservers();
    return numPending;
}

Recording::Recording() {
    detail::Control& control = detail::Control::instance();
    std::lock_guard const lock(control.mutex);
    control.recordings.push_back(this);
    control.countObservers();
}

Recording::~Recording() {
    detail::Control& control = detail::Control::instance();
    std::lock_guard const lock(control.mutex);
    control.recordings.erase(std::find(control.recordings.begin(), control.recordings.end(), this));
    control.countObservers();
}

std::vector<Call> Recording::calls() const {
    std::lock_guard const lock(detail::Control::instance().mutex);
    return calls_;
}

std::vector<Launch> Recording::launches() const {
    std::lock_guard const lock(detail::Control::instance().mutex);
    return launches_;
}

}  // namespace gpuruntime::hostdevice
