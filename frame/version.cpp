#include <gpuruntime/version.hpp>

char const* const libkvgpuruntime_version = KVGPURUNTIME_VERSION;
char const* const libkvgpuruntime_build_date = __DATE__;
char const* const libkvgpuruntime_relative_path = "bin/nxlin64/libkvgpuruntime.so";
