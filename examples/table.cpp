// An engine's everyday life with arrays, on real measurements: find(a > x), deleting rows by a mask, A(rows,
// cols) = B, and an image that is tiled and turned. Each result is checked against a plain loop.
//
//   table <table.csv>      a header line, then rows; the columns 3 to 6 are measurements, NA marks a
//                          missing value

#include <gpuruntime/accumulation.hpp>
#include <gpuruntime/current_device.hpp>
#include <gpuruntime/find.hpp>
#include <gpuruntime/movement.hpp>
#include <gpuruntime/subscripts.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "device_vector.hpp"

namespace {

using gpuruntime::FindFirst;
using Doubles = std::vector<double>;

/// Column-major.
struct Table {
    unsigned long rows = 0, cols = 4;
    Doubles values;

    double& at(unsigned long r, unsigned long c) { return values[c * rows + r]; }
};

Table readTable(char const* path) {
    constexpr unsigned long firstColumn = 2;
    std::ifstream file(path);
    std::vector<Doubles> lines;
    std::string line, field;
    std::getline(file, line);
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        Doubles measurements;
        for (unsigned long c = 0; std::getline(fields, field, ','); ++c) {
            if (c < firstColumn || measurements.size() == 4) continue;
            measurements.push_back(field == "NA" ? std::nan("") : std::stod(field));
        }
        lines.push_back(measurements);
    }
    Table table;
    table.rows = lines.size();
    table.values.resize(table.rows * table.cols);
    for (unsigned long r = 0; r < table.rows; ++r) {
        for (unsigned long c = 0; c < table.cols; ++c) table.at(r, c) = lines[r][c];
    }
    return table;
}

/// The 1-based positions of the flags that are set: the last running count is their number.
Doubles find(std::vector<double> const& flags) {
    unsigned long const n = flags.size();
    DeviceVector<double> in(flags), scan(flags), total(1);
    check(gpuruntime::CumSum::Invoker<double>()(nullptr, total.data(), scan.data(), n, n, 1), "counting");
    auto const count = static_cast<unsigned long>(total.values()[0]);
    DeviceVector<double> positions(count);
    gpuruntime::Find1D::Invoker<double>()(nullptr, positions.data(), in.data(), scan.data(), count, n,
                                          FindFirst);
    return positions.values();
}

/// The rows of a table, in the order of their indices: table(rows, :).
Table selectedRows(Table const& table, Doubles const& rows) {
    DeviceVector<double> in(table.values), indices(rows), out(rows.size() * table.cols);
    gpuruntime::Subsref3D<double const*, double2, void*>::Invoker<double>()(
        nullptr, out.size(), out.data(), in.data(), table.rows, rows.size(), indices.data(), table.cols,
        table.cols, double2{1, 1}, 1, 1, nullptr);
    return {rows.size(), table.cols, out.values()};
}

/// Without the rows that have a missing value.
Table withoutIncompleteRows(Table& table) {
    Doubles complete;
    for (unsigned long r = 0; r < table.rows; ++r) {
        bool isComplete = true;
        for (unsigned long c = 0; c < table.cols; ++c) isComplete &= !std::isnan(table.at(r, c));
        complete.push_back(isComplete ? 1 : 0);
    }
    Table kept = selectedRows(table, find(complete));
    unsigned long next = 0;
    for (unsigned long r = 0; r < table.rows; ++r) {
        if (complete[r] == 0) continue;
        for (unsigned long c = 0; c < table.cols; ++c)
            require(kept.at(next, c) == table.at(r, c), "complete rows");
        ++next;
    }
    require(next == kept.rows, "number of complete rows");
    return kept;
}

/// The rows of birds heavier than so many grams.
Doubles heavierThan(Table& table, double grams) {
    Doubles flags, expected;
    for (unsigned long r = 0; r < table.rows; ++r) {
        bool const isHeavier = table.at(r, 3) > grams;
        flags.push_back(isHeavier ? 1 : 0);
        if (isHeavier) expected.push_back(static_cast<double>(r + 1));
    }
    Doubles const rows = find(flags);
    require(rows == expected, "heavy birds");
    return rows;
}

/// table(rows, [4 3]) = B, where B holds their masses in kilograms and their flippers in metres.
void convertUnits(Table& table, Doubles const& rows) {
    Doubles const columns{4, 3};
    Doubles block;
    for (double const column : columns) {
        for (double const row : rows) {
            block.push_back(
                table.at(static_cast<unsigned long>(row) - 1, static_cast<unsigned long>(column) - 1) / 1000);
        }
    }
    DeviceVector<double> out(table.values), in(block), rowIndices(rows), columnIndices(columns);
    gpuruntime::Subsasgn3D<double const*, double const*, void*>::Invoker<double>()(
        nullptr, block.size(), out.data(), in.data(), table.rows, rows.size(), rowIndices.data(), table.cols,
        columns.size(), columnIndices.data(), 1, 1, nullptr);
    Table expected = table;
    for (double const row : rows) {
        for (double const column : columns) {
            expected.at(static_cast<unsigned long>(row) - 1, static_cast<unsigned long>(column) - 1) /= 1000;
        }
    }
    table.values = out.values();
    require(table.values == expected.values, "assigned block");
}

/// How many birds there are by flipper (rows) and by mass (columns).
struct Image {
    unsigned long rows, cols;
    std::vector<unsigned char> pixels;
};

Image imageOf(Table& table) {
    Image image{10, 8, std::vector<unsigned char>(80, 0)};
    auto const binOf = [](double value, double low, double high, unsigned long bins) {
        auto const bin = static_cast<unsigned long>((value - low) / (high - low) * static_cast<double>(bins));
        return std::min(bin, bins - 1);
    };
    for (unsigned long r = 0; r < table.rows; ++r) {
        unsigned long const row = binOf(table.at(r, 2), 170, 232, image.rows);
        unsigned long const col = binOf(table.at(r, 3), 2700, 6300, image.cols);
        ++image.pixels[row + col * image.rows];
    }
    return image;
}

/// Two images one above the other, three side by side, turned clockwise.
Image tiledAndTurned(Image const& image) {
    unsigned long const rows = 2 * image.rows, cols = 3 * image.cols;
    DeviceVector<unsigned char> in(image.pixels), stacked(rows * image.cols), tiled(rows * cols),
        turned(rows * cols);
    // Two copies of a column beside each other are, in memory, one column of twice the length.
    gpuruntime::RepmatMatrixRows::Invoker<unsigned char>()(nullptr, stacked.data(), in.data(), image.rows,
                                                           image.cols, 2);
    gpuruntime::RepmatColumnVector::Invoker<unsigned char>()(nullptr, tiled.data(), stacked.data(),
                                                             rows * image.cols, 3);
    gpuruntime::Rot90::Invoker<unsigned char>()(nullptr, turned.data(), tiled.data(), rows, cols, 1, true);
    Image result{cols, rows, turned.values()};
    for (unsigned long c = 0; c < cols; ++c) {
        for (unsigned long r = 0; r < rows; ++r) {
            unsigned char const pixel = image.pixels[r % image.rows + c % image.cols * image.rows];
            require(result.pixels[c + (rows - 1 - r) * cols] == pixel, "turned image");
        }
    }
    return result;
}

void print(Image const& image) {
    static char const shades[] = " .:-=+*#%@";
    for (unsigned long r = 0; r < image.rows; ++r) {
        for (unsigned long c = 0; c < image.cols; ++c) {
            std::putchar(shades[std::min<int>(
                image.pixels[r + c * image.rows] / 4 + (image.pixels[r + c * image.rows] > 0), 9)]);
        }
        std::putchar('\n');
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: table <table.csv>\n");
        return 2;
    }
    check(gpuruntime::useCurrentDevice(), "reading the device's properties");
    Table table = readTable(argv[1]);
    require(table.rows > 0, "the table is empty");
    Table complete = withoutIncompleteRows(table);
    std::printf("%lu birds, %lu with all measurements\n", table.rows, complete.rows);
    Image const image = imageOf(complete);
    Doubles const heavy = heavierThan(complete, 5000);
    std::printf("%zu are heavier than 5 kg, the first in row %g, the last in row %g\n", heavy.size(),
                heavy.front(), heavy.back());
    convertUnits(complete, heavy);
    std::printf("row %g in millimetres, metres and kilograms: %g, %g, %g, %g\n", heavy.front(),
                complete.at(static_cast<unsigned long>(heavy.front()) - 1, 0),
                complete.at(static_cast<unsigned long>(heavy.front()) - 1, 1),
                complete.at(static_cast<unsigned long>(heavy.front()) - 1, 2),
                complete.at(static_cast<unsigned long>(heavy.front()) - 1, 3));
    print(tiledAndTurned(image));
    return 0;
}
