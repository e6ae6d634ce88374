#pragma once

namespace gpucommon {

/// What a host engine tells the library about the current device: 13 unsigned 64-bit fields. The library
/// gives meaning to seven of them and copies the other six unread; those belong to the engine.
struct CUDADeviceProperties {
    unsigned long unread0;
    unsigned long maxBlockDimY;  ///< largest y extent of a block, in threads
    unsigned long maxBlockDimZ;  ///< largest z extent of a block, in threads
    unsigned long unread3;
    unsigned long unread4;
    unsigned long unread5;
    unsigned long maxGridDimX;  ///< largest x extent of a grid, in blocks
    unsigned long maxGridDimY;  ///< largest y extent of a grid, in blocks
    unsigned long maxGridDimZ;  ///< largest z extent of a grid, in blocks
    unsigned long unread9;
    unsigned long multiProcessorCount;
    unsigned long computeCapabilityMajor;
    unsigned long unread12;
};

}  // namespace gpucommon

namespace gpuruntime::internal {

/// Stores a copy of the current device's properties, from which every launch shape is computed. Call it
/// before the first family and again whenever the current device changes, never while another thread is
/// inside a family's call. A family called before the first store is a null dereference. \throws
/// std::bad_alloc; the record stored before then stays in place.
void storeCurrentDeviceProperties(gpucommon::CUDADeviceProperties const& properties);

}  // namespace gpuruntime::internal
