#pragma once

extern "C" {
/// The library's dotted four-part version.
extern char const* const libkvgpuruntime_version;
/// The build date: month name, day and year.
extern char const* const libkvgpuruntime_build_date;
/// The library's path relative to the installation root.
extern char const* const libkvgpuruntime_relative_path;
}
