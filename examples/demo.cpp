// The library's main job on real data: a table of measurements goes to the device, families work on it there,
// and what they leave is read back and printed.
//
//   demo <table.csv>      a header line, then rows; NA marks a missing value; columns of text are left out

#include <cuda_runtime.h>
#include <gpuruntime/device_properties.hpp>
#include <gpuruntime/ranges.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {

void check(cudaError status, char const* step) {
    if (status == cudaSuccess) return;
    std::fprintf(stderr, "%s: %s\n", step, cudaGetErrorString(status));
    std::exit(1);
}

/// An array in device memory, owned by the engine.
template <class T>
class DeviceVector {
  public:
    explicit DeviceVector(std::size_t size) : count(size) {
        check(cudaMalloc(&memory, size * sizeof(T)), "allocating");
    }
    explicit DeviceVector(std::vector<T> const& values) : DeviceVector(values.size()) {
        check(cudaMemcpy(memory, values.data(), count * sizeof(T), cudaMemcpyHostToDevice), "copying in");
    }
    ~DeviceVector() { cudaFree(memory); }
    DeviceVector(DeviceVector const&) = delete;
    DeviceVector& operator=(DeviceVector const&) = delete;

    T* data() { return memory; }

    std::vector<T> values() const {
        std::vector<T> result(count);
        check(cudaMemcpy(result.data(), memory, count * sizeof(T), cudaMemcpyDeviceToHost), "copying out");
        return result;
    }

  private:
    T* memory = nullptr;
    std::size_t count;
};

/// The numeric columns of a table, one after another; a missing value is NaN.
struct Table {
    std::vector<std::string> names;
    std::vector<std::vector<double>> columns;
};

std::vector<std::string> cells(std::string const& line) {
    std::vector<std::string> result;
    std::istringstream stream(line);
    for (std::string cell; std::getline(stream, cell, ',');) result.push_back(cell);
    return result;
}

bool readsAsNumber(std::string const& cell, double& value) {
    value = std::numeric_limits<double>::quiet_NaN();
    if (cell == "NA") return true;
    char* end = nullptr;
    value = std::strtod(cell.c_str(), &end);
    return !cell.empty() && *end == '\0';
}

Table readTable(char const* path) {
    std::ifstream file(path);
    std::string line;
    if (!std::getline(file, line)) {
        std::fprintf(stderr, "%s: no table to read\n", path);
        std::exit(1);
    }
    Table all{cells(line), {}};
    all.columns.resize(all.names.size());
    std::vector<bool> numeric(all.names.size(), true);
    while (std::getline(file, line)) {
        auto const row = cells(line);
        for (std::size_t c = 0; c < all.names.size(); ++c) {
            double value = 0;
            numeric[c] = c < row.size() && readsAsNumber(row[c], value) && numeric[c];
            all.columns[c].push_back(value);
        }
    }
    Table table;
    for (std::size_t c = 0; c < all.names.size(); ++c) {
        if (!numeric[c]) continue;
        table.names.push_back(all.names[c]);
        table.columns.push_back(all.columns[c]);
    }
    return table;
}

void storeProperties() {
    cudaDeviceProp device{};
    check(cudaGetDeviceProperties(&device, 0), "reading the device's properties");
    gpucommon::CUDADeviceProperties properties{};
    properties.maxBlockDimY = static_cast<unsigned long>(device.maxThreadsDim[1]);
    properties.maxBlockDimZ = static_cast<unsigned long>(device.maxThreadsDim[2]);
    properties.maxGridDimX = static_cast<unsigned long>(device.maxGridSize[0]);
    properties.maxGridDimY = static_cast<unsigned long>(device.maxGridSize[1]);
    properties.maxGridDimZ = static_cast<unsigned long>(device.maxGridSize[2]);
    properties.multiProcessorCount = static_cast<unsigned long>(device.multiProcessorCount);
    properties.computeCapabilityMajor = static_cast<unsigned long>(device.major);
    gpuruntime::internal::storeCurrentDeviceProperties(properties);
    std::printf("device: %s\n", device.name);
}

/// Prints, for each column, an axis of six evenly spaced values over what was measured.
void printAxes(Table const& table) {
    unsigned long const ticks = 6;
    std::printf("\n%-20s axis\n", "column");
    for (std::size_t c = 0; c < table.names.size(); ++c) {
        double low = std::numeric_limits<double>::infinity(), high = -low;
        for (double value : table.columns[c]) {
            if (std::isnan(value)) continue;
            low = std::min(low, value);
            high = std::max(high, value);
        }
        DeviceVector<double> axis(ticks);
        gpuruntime::Linspace::Invoker<double>()(nullptr, ticks, axis.data(), low, high);
        check(cudaGetLastError(), "launching");
        std::printf("%-20s", table.names[c].c_str());
        for (double tick : axis.values()) std::printf(" %10.4g", tick);
        std::printf("\n");
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: demo <table.csv>\n");
        return 1;
    }
    Table const table = readTable(argv[1]);
    std::printf("table: %zu rows, %zu numeric columns\n", table.columns.empty() ? 0 : table.columns[0].size(),
                table.columns.size());
    storeProperties();
    printAxes(table);
}
