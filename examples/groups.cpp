// A table of measurements by groups: its rows are grouped by two columns of text, a measurement is counted,
// averaged and bounded in each group, its values are drawn as a histogram, and values are looked up in a
// list.
//
//   groups <table.csv>        a header line, then rows; the first two columns are text, the sixth is a number
//   or NA

#include <gpuruntime/accumarray.hpp>
#include <gpuruntime/current_device.hpp>
#include <gpuruntime/histograms.hpp>
#include <gpuruntime/membership.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "device_vector.hpp"

namespace {

using Doubles = std::vector<double>;

/// The words of a column, each once, and for each row the 1-based number of its word.
struct Words {
    std::vector<std::string> names;
    Doubles numbers;

    void append(std::string const& word) {
        auto const found = std::find(names.begin(), names.end(), word);
        numbers.push_back(static_cast<double>(found - names.begin() + 1));
        if (found == names.end()) names.push_back(word);
    }
};

/// The rows in which the measurement is there.
struct Table {
    Words first, second;
    Doubles values;
};

Table readTable(char const* path) {
    constexpr std::size_t valueColumn = 5;
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    Table table;
    while (std::getline(file, line)) {
        std::vector<std::string> row;
        std::istringstream stream(line);
        for (std::string cell; std::getline(stream, cell, ',');) row.push_back(cell);
        if (row.size() <= valueColumn || row[valueColumn] == "NA") continue;
        table.first.append(row[0]);
        table.second.append(row[1]);
        table.values.push_back(std::atof(row[valueColumn].c_str()));
    }
    require(!table.values.empty(), "there is no table to read");
    return table;
}

/// The values of a table by groups: bins of an array of as many rows and columns as there are words.
class Groups {
  public:
    explicit Groups(Table const& table)
        : n(table.values.size()),
          numRows(table.first.names.size()),
          numBins(numRows * table.second.names.size()) {
        Doubles subscripts = table.first.numbers;
        subscripts.insert(subscripts.end(), table.second.numbers.begin(), table.second.numbers.end());
        DeviceVector<double> in(subscripts), values(table.values);
        DeviceVector<int> keys(n);
        // Dimensions of one word would be left out of both lists.
        unsigned long const dims[] = {numRows, numBins / numRows}, numbers[] = {0, 1};
        gpuruntime::Sub2IndCastInt<int> const keysOfSubscripts;
        gpuruntime::Sub2IndCastInt<int>::Invoker<double>()(nullptr, keys.data(), in.data(), dims, numbers, n,
                                                           2, 2, gpuruntime::AccumArrayStorageColumnMajor);
        require(keysOfSubscripts.getErrorFlag(nullptr) == 1000, "a subscript is out of range");
        gpuruntime::AccumArrayVectorSortHelper<int>::Invoker<double>()(nullptr, keys.data(), values.data(),
                                                                       n);
        sortedKeys = keys.values();
        sortedValues = values.values();
    }

    /// One value for each bin, 0 for those without any.
    Doubles accumulated(gpuruntime::AccumArrayFunction function) const {
        unsigned long const room = gpuruntime::getNumElementsWorkingMemoryNeededForAccumarray(n);
        DeviceVector<int> keys(sortedKeys), scratchKeys(room);
        DeviceVector<double> values(sortedValues), scratch(room), out(numBins);
        gpuruntime::AccumArray::Invoker<double>()(nullptr, out.data(), keys.data(), values.data(),
                                                  scratchKeys.data(), scratch.data(), numBins, n, function,
                                                  gpuruntime::AccumArrayModeFull);
        return out.values();
    }

    std::vector<int> counts() const {
        DeviceVector<int> keys(sortedKeys), counts(numBins);
        gpuruntime::AccumArrayGetBinCounts::Invoker()(nullptr, counts.data(), keys.data(), numBins, n);
        return counts.values();
    }

    unsigned long n, numRows, numBins;

  private:
    std::vector<int> sortedKeys;
    Doubles sortedValues;
};

void printGroups(Table const& table) {
    Groups const groups(table);
    auto const counts = groups.counts();
    Doubles const sums = groups.accumulated(gpuruntime::AccumArrayFunctionSum),
                  least = groups.accumulated(gpuruntime::AccumArrayFunctionMin),
                  most = groups.accumulated(gpuruntime::AccumArrayFunctionMax);
    require(std::accumulate(counts.begin(), counts.end(), 0ul) == groups.n, "a value was not counted");
    std::printf("%-12s%-12s%8s%8s%8s%8s\n", "", "", "count", "mean", "least", "most");
    for (unsigned long bin = 0; bin < groups.numBins; ++bin) {
        if (counts[bin] == 0) continue;
        std::printf("%-12s%-12s%8d%8.0f%8.0f%8.0f\n", table.first.names[bin % groups.numRows].c_str(),
                    table.second.names[bin / groups.numRows].c_str(), counts[bin], sums[bin] / counts[bin],
                    least[bin], most[bin]);
    }
}

void drawHistogram(Doubles const& values) {
    constexpr unsigned long numBins = 17;
    double const edges[] = {2500, 6500};
    DeviceVector<double> in(values);
    DeviceVector<unsigned int> counts(numBins);
    check(gpuruntime::HistCColonForm::Invoker<double>()(nullptr, counts.data(), nullptr, in.data(), edges,
                                                        numBins, 1, values.size(), 1),
          "counting");
    auto const found = counts.values();
    require(std::accumulate(found.begin(), found.end(), 0ul) == values.size(), "a value is in no bin");
    for (unsigned long bin = 0; bin + 1 < numBins; ++bin) {
        std::printf("%6.0f %s\n", edges[0] + (edges[1] - edges[0]) * static_cast<double>(bin) / (numBins - 1),
                    std::string(found[bin], '#').c_str());
    }
}

/// Which of the values occur in a list, which is sorted first.
void lookUp(Doubles const& values, Doubles list) {
    std::sort(list.begin(), list.end());
    DeviceVector<double> in(values), set(list);
    DeviceVector<bool> isMember(values.size());
    gpuruntime::IsMember1Arg::Invoker<double>()(in.data(), values.size(), set.data(), list.size(),
                                                isMember.data(), 0);
    auto const found = isMember.values();
    std::printf("%d of the values are in a list of %zu\n", std::accumulate(found.begin(), found.end(), 0),
                list.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: groups <table.csv>\n");
        return 2;
    }
    check(gpuruntime::useCurrentDevice(), "reading the device's properties");
    Table const table = readTable(argv[1]);
    printGroups(table);
    drawHistogram(table.values);
    lookUp(table.values, {4750, 3300, 5000, 3750});
    return 0;
}
