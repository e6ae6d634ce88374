// The library's main job on real data: a table of measurements goes to the device, families work on it there,
// and what they leave is read back and printed.
//
//   demo <table.csv>      a header line, then rows; NA marks a missing value; of columns of text only those
//   of two words
//                         are used

#include <gpuruntime/accumulation.hpp>
#include <gpuruntime/casts.hpp>
#include <gpuruntime/current_device.hpp>
#include <gpuruntime/predicates.hpp>
#include <gpuruntime/random.hpp>
#include <gpuruntime/ranges.hpp>
#include <gpuruntime/reductions.hpp>
#include <gpuruntime/sorting.hpp>
#include <gpuruntime/transpose.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "device_vector.hpp"

namespace {

/// The numeric columns of a table as a column-major matrix, and its columns of two words as numbers, 1 for
/// the word in the name and 0 for the other; a missing value is NaN.
struct Table {
    std::vector<std::string> names, wordNames;
    std::vector<double> values, words;
    unsigned long rows = 0, columns = 0;
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

/// If there are two words in a column, appends it as numbers.
void appendWords(Table& table, std::string const& name, std::vector<std::string> const& column) {
    auto const isWord = [](std::string const& cell) { return cell != "NA"; };
    auto const first = std::find_if(column.begin(), column.end(), isWord);
    auto const second =
        std::find_if(first, column.end(), [&](auto& cell) { return isWord(cell) && cell != *first; });
    if (second == column.end()) return;
    auto const isOther = [&](auto& cell) { return isWord(cell) && cell != *first && cell != *second; };
    if (std::any_of(second, column.end(), isOther)) return;
    table.wordNames.push_back(name + " is " + *first);
    for (std::string const& cell : column) {
        table.words.push_back(isWord(cell) ? (cell == *first ? 1 : 0)
                                           : std::numeric_limits<double>::quiet_NaN());
    }
}

Table readTable(char const* path) {
    std::ifstream file(path);
    std::string line;
    if (!std::getline(file, line)) {
        std::fprintf(stderr, "%s: no table to read\n", path);
        std::exit(1);
    }
    std::vector<std::string> const names = cells(line);
    std::vector<std::vector<double>> columns(names.size());
    std::vector<std::vector<std::string>> texts(names.size());
    std::vector<bool> numeric(names.size(), true);
    while (std::getline(file, line)) {
        auto const row = cells(line);
        for (std::size_t c = 0; c < names.size(); ++c) {
            double value = 0;
            numeric[c] = c < row.size() && readsAsNumber(row[c], value) && numeric[c];
            columns[c].push_back(value);
            texts[c].push_back(c < row.size() ? row[c] : "");
        }
    }
    Table table;
    for (std::size_t c = 0; c < names.size(); ++c) {
        if (!numeric[c]) {
            appendWords(table, names[c], texts[c]);
            continue;
        }
        table.names.push_back(names[c]);
        table.values.insert(table.values.end(), columns[c].begin(), columns[c].end());
    }
    table.columns = table.names.size();
    table.rows = table.columns == 0 ? 0 : table.values.size() / table.columns;
    if (table.rows == 0) {
        std::fprintf(stderr, "%s: no numbers to work on\n", path);
        std::exit(1);
    }
    return table;
}

/// For each column, over the values that are not missing: how many, their sum and mean, the smallest and the
/// largest with their rows.
void printSummaries(Table const& table, DeviceVector<double>& matrix, DeviceVector<bool>& missing) {
    unsigned long const n = table.values.size(), rows = table.rows, columns = table.columns;
    DeviceVector<double> missingCounts(columns), sums(columns), lows(columns), lowRows(columns),
        highs(columns), highRows(columns);
    cudaStream_t const stream = nullptr;
    using namespace gpuruntime;
    check(CountNonZero::Invoker<bool>()(stream, missingCounts.data(), missing.data(), n, rows), "counting");
    check(SumNative::Invoker<double>()(stream, sums.data(), matrix.data(), n, rows, 1, false), "summing");
    check(MinWithIndex::Invoker<double>()(stream, lows.data(), lowRows.data(), matrix.data(), n, rows, 1, 1,
                                          false),
          "finding the smallest");
    check(MaxWithIndex::Invoker<double>()(stream, highs.data(), highRows.data(), matrix.data(), n, rows, 1, 1,
                                          false),
          "finding the largest");

    auto const missingCount = missingCounts.values(), sum = sums.values(), low = lows.values(),
               lowRow = lowRows.values(), high = highs.values(), highRow = highRows.values();
    std::printf("\n%-18s %5s %10s %10s %9s %5s %9s %5s\n", "column", "count", "sum", "mean", "min", "row",
                "max", "row");
    for (unsigned long c = 0; c < columns; ++c) {
        double const count = static_cast<double>(rows) - missingCount[c];
        std::printf("%-18s %5.0f %10.1f %10.3f %9.1f %5.0f %9.1f %5.0f\n", table.names[c].c_str(), count,
                    sum[c], sum[c] / count, low[c], lowRow[c], high[c], highRow[c]);
    }
}

/// The type that each column has beneath its numbers. One is of integers if, cast to them, it differs only
/// where a value is missing.
void printTypes(Table const& table, DeviceVector<double>& matrix, DeviceVector<bool>& missing) {
    using namespace gpuruntime;
    unsigned long const n = table.values.size(), rows = table.rows, columns = table.columns;
    cudaStream_t const stream = nullptr;
    DeviceVector<int> integers(n);
    DeviceVector<bool> differs(n);
    DeviceVector<double> missingCounts(columns), differences(columns);
    CastToReal::Invoker<int, double>()(stream, n, integers.data(), matrix.data());
    check(cudaGetLastError(), "casting to integers");
    ElementwiseCompare::Invoker<int, double>()(stream, n, differs.data(), integers.data(), matrix.data(),
                                               false, true);
    check(cudaGetLastError(), "comparing");
    check(CountNonZero::Invoker<bool>()(stream, missingCounts.data(), missing.data(), n, rows), "counting");
    check(CountNonZero::Invoker<bool>()(stream, differences.data(), differs.data(), n, rows), "counting");
    auto const missingCount = missingCounts.values(), difference = differences.values();
    std::printf("\n%-18s %-8s %7s\n", "column", "type", "missing");
    for (unsigned long c = 0; c < columns; ++c) {
        std::printf("%-18s %-8s %7.0f\n", table.names[c].c_str(),
                    difference[c] == missingCount[c] ? "integer" : "real", missingCount[c]);
    }

    for (unsigned long c = 0; c < table.wordNames.size(); ++c) {
        auto const first = table.words.begin() + static_cast<long>(c * rows);
        DeviceVector<double> numbers(std::vector<double>(first, first + static_cast<long>(rows)));
        DeviceVector<bool> logicals(rows);
        check(CastToBool::Invoker<double>()(stream, rows, logicals.data(), numbers.data()),
              "casting to logicals");
        constexpr unsigned int noError = 1000;
        bool const isWhole = CastToBool().getErrorFlag(stream) == noError;
        CastToBoolAllowNaN::Invoker<double>()(stream, rows, logicals.data(), numbers.data(), false);
        check(cudaGetLastError(), "casting to logicals");
        DeviceVector<double> trueCount(1);
        check(CountNonZero::Invoker<bool>()(stream, trueCount.data(), logicals.data(), rows, rows),
              "counting");
        std::printf("%-18s %-8s %7s   true in %.0f rows\n", table.wordNames[c].c_str(), "logical",
                    isWhole ? "none" : "some", trueCount.values()[0]);
    }
}

/// The running total of a column as integers, in which a missing value is 0.
void printRunningTotal(Table const& table, DeviceVector<double>& matrix, unsigned long column) {
    using namespace gpuruntime;
    DeviceVector<int> data(table.rows), total(1);
    CastToReal::Invoker<int, double>()(nullptr, table.rows, data.data(), matrix.data() + column * table.rows);
    check(cudaGetLastError(), "casting to integers");
    check(CumSum::Invoker<int>()(nullptr, total.data(), data.data(), table.rows, table.rows, 1),
          "accumulating");
    auto const running = data.values();
    std::printf("\nrunning total of %s\n", table.names[column].c_str());
    for (unsigned long row = 49; row < table.rows; row += 50)
        std::printf("  row %3lu %10d\n", row + 1, running[row]);
    std::printf("  in all  %10d\n", total.values()[0]);
}

/// The rows in the order of two columns, the first ascending and the second descending. The table is
/// transposed on the device, so that a row can be copied out whole.
void printSortedRows(Table const& table, DeviceVector<double>& matrix, double firstColumn,
                     double secondColumn) {
    unsigned long const rows = table.rows, columns = table.columns;
    DeviceVector<double> transposed(rows * columns);
    gpuruntime::Transpose::Invoker<double>()(nullptr, transposed.data(), matrix.data(), rows, columns);
    check(cudaGetLastError(), "transposing");

    DeviceVector<unsigned int> order(rows);
    gpuruntime::Colon::Invoker<unsigned int>()(nullptr, rows, order.data(), 1, 1, static_cast<double>(rows));
    check(cudaGetLastError(), "numbering the rows");
    double const sortOrder[] = {firstColumn, -secondColumn};
    check(static_cast<cudaError>(
              gpuruntime::SortrowsIndex::Invoker<double>()(matrix.data(), order.data(), rows, 2, sortOrder)),
          "sorting");

    std::printf("\nfirst rows by %s and, downwards, %s\n",
                table.names[static_cast<unsigned long>(firstColumn) - 1].c_str(),
                table.names[static_cast<unsigned long>(secondColumn) - 1].c_str());
    auto const permutation = order.values();
    auto const byRow = transposed.values();
    for (unsigned long i = 0; i < std::min(5ul, rows); ++i) {
        std::printf("  row %3u:", permutation[i]);
        for (unsigned long c = 0; c < columns; ++c)
            std::printf(" %8.1f", byRow[(permutation[i] - 1) * columns + c]);
        std::printf("\n");
    }
}

/// A random stream, as an engine keeps one: it seeds the state, and after each call moves it past what was
/// used.
class Stream {
  public:
    explicit Stream(unsigned int seed) : words{seed, 0, 0, 0, 0, 0, 0} {}

    unsigned int* state() { return words.data(); }

    /// A block of the counter gives two elements; word 6 is the place in a block begun.
    void advance(unsigned long n) {
        unsigned long const position = words[6] + n;
        words[6] = position % 2;
        unsigned long carry = position / 2;
        for (std::size_t word = 2; word < 6 && carry != 0; ++word) {
            carry += words[word];
            words[word] = static_cast<unsigned int>(carry);
            carry >>= 32;
        }
    }

  private:
    std::array<unsigned int, 7> words;
};

/// The spread of a column's mean over samples drawn with replacement, which tells how far the mean can be
/// trusted.
void printBootstrap(Table const& table, DeviceVector<bool> const& missing, unsigned long column) {
    unsigned long const samples = 1000;
    auto const isMissing = missing.values();
    std::vector<double> values;
    for (unsigned long i = column * table.rows; i < (column + 1) * table.rows; ++i) {
        if (!isMissing[i]) values.push_back(table.values[i]);
    }
    unsigned long const n = values.size();

    Stream stream(2014);
    DeviceVector<unsigned int> drawn(n);
    std::vector<double> drawnValues;
    for (unsigned long sample = 0; sample < samples; ++sample) {
        check(gpuruntime::RandI<gpucommon::rand::Philox4x32Generator>::Invoker<unsigned int>()(
                  nullptr, drawn.data(), stream.state(), 0, static_cast<double>(n - 1), n),
              "drawing");
        stream.advance(n);
        for (unsigned int row : drawn.values()) drawnValues.push_back(values[row]);
    }

    DeviceVector<double> draws(drawnValues), sums(samples);
    check(
        gpuruntime::SumNative::Invoker<double>()(nullptr, sums.data(), draws.data(), samples * n, n, 1, true),
        "summing the samples");
    gpuruntime::SimpleSort::Invoker<double>()(sums.data(), samples);
    auto const sorted = sums.values();
    std::printf("\nmean %s of %lu samples: 95 %% of them from %.2f to %.2f\n", table.names[column].c_str(),
                samples, sorted[samples / 40] / static_cast<double>(n),
                sorted[samples - 1 - samples / 40] / static_cast<double>(n));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: demo <table.csv>\n");
        return 1;
    }
    Table const table = readTable(argv[1]);
    check(gpuruntime::useCurrentDevice(), "reading the device's properties");
    std::printf("table: %lu rows, %lu numeric columns\n", table.rows, table.columns);

    DeviceVector<double> matrix(table.values);
    DeviceVector<bool> missing(table.values.size());
    gpuruntime::IsNaN::Invoker<double>()(nullptr, missing.data(), matrix.data(), table.values.size());
    check(cudaGetLastError(), "finding missing values");
    printSummaries(table, matrix, missing);
    printTypes(table, matrix, missing);
    unsigned long const last = table.columns - 1, beforeLast = table.columns > 1 ? last - 1 : last;
    printRunningTotal(table, matrix, beforeLast);
    printSortedRows(table, matrix, static_cast<double>(last + 1), static_cast<double>(beforeLast + 1));
    printBootstrap(table, missing, beforeLast);
}
