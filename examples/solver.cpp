// Which solver an engine chooses: the covariance matrix of a table of real measurements, the factor that is
// made of it, and its inverse, each told by its shape; then a complex signal, put together and taken apart
// again.
//
//   solver <table.csv>     a header line, then rows; the columns 3 to 6 are measurements, NA marks a
//                          missing value

#include <gpuruntime/arithmetic.hpp>
#include <gpuruntime/complex.hpp>
#include <gpuruntime/current_device.hpp>
#include <gpuruntime/matrix_properties.hpp>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "device_vector.hpp"

namespace {

using Doubles = std::vector<double>;

constexpr unsigned long numColumns = 4;

/// The columns of the rows that have all measurements.
std::array<Doubles, numColumns> readColumns(char const* path) {
    std::ifstream file(path);
    std::array<Doubles, numColumns> columns;
    std::string line, field;
    std::getline(file, line);
    while (std::getline(file, line)) {
        if (line.find("NA,NA") != std::string::npos) continue;
        std::istringstream fields(line);
        for (unsigned long c = 0; std::getline(fields, field, ','); ++c) {
            if (c >= 2 && c < 2 + numColumns) columns[c - 2].push_back(std::stod(field));
        }
    }
    return columns;
}

/// In standard units: the mean taken away, divided by the standard deviation.
void standardize(Doubles& column) {
    double const n = static_cast<double>(column.size());
    double sum = 0, squares = 0;
    for (double x : column) sum += x;
    for (double x : column) squares += (x - sum / n) * (x - sum / n);
    DeviceVector<double> data(column);
    gpuruntime::NormalizeInplace::Invoker<double>()(nullptr, data.data(), sum / n,
                                                    std::sqrt(squares / (n - 1)), column.size());
    column = data.values();
}

/// Column-major; the covariances of columns in standard units.
Doubles covariance(std::array<Doubles, numColumns> const& columns) {
    Doubles matrix(numColumns * numColumns);
    for (unsigned long a = 0; a < numColumns; ++a) {
        for (unsigned long b = 0; b < numColumns; ++b) {
            for (unsigned long r = 0; r < columns[a].size(); ++r) {
                matrix[b * numColumns + a] += columns[a][r] * columns[b][r];
            }
            matrix[b * numColumns + a] /= static_cast<double>(columns[a].size() - 1);
        }
    }
    return matrix;
}

/// The lower triangle L with L times its transpose being the matrix.
Doubles choleskyFactor(Doubles const& matrix) {
    Doubles factor(matrix.size());
    auto const at = [&](unsigned long row, unsigned long column) -> double& {
        return factor[column * numColumns + row];
    };
    for (unsigned long c = 0; c < numColumns; ++c) {
        for (unsigned long r = c; r < numColumns; ++r) {
            double rest = matrix[c * numColumns + r];
            for (unsigned long k = 0; k < c; ++k) rest -= at(r, k) * at(c, k);
            at(r, c) = r == c ? std::sqrt(rest) : rest / at(c, c);
        }
    }
    return factor;
}

/// The cheapest way to solve equations with a matrix, by its shape.
std::string solverOf(Doubles const& matrix) {
    DeviceVector<double> in(matrix);
    unsigned int const pattern =
        gpuruntime::GetFillPattern::Invoker<double>()(nullptr, in.data(), numColumns, numColumns);
    if (pattern == 3) return "division by the diagonal";
    if (pattern == 1) return "forward substitution";
    if (pattern == 2) return "backward substitution";
    if (gpuruntime::IsSymmetric::Invoker<double>()(nullptr, in.data(), numColumns, numColumns, false,
                                                   false)) {
        return "Cholesky's method";
    }
    return "elimination with pivots";
}

void tell(char const* name, Doubles const& matrix, std::string const& expected) {
    std::string const solver = solverOf(matrix);
    std::printf("%-22s %s\n", name, solver.c_str());
    require(solver == expected, name);
}

/// A wave in two parts: joined, put into a longer array, turned around, and taken apart.
void showSignal() {
    unsigned long const n = 12, padded = 16;
    Doubles cosines, sines;
    for (unsigned long i = 0; i < n; ++i) {
        double const angle = 2 * std::acos(-1.0) * static_cast<double>(i) / static_cast<double>(n);
        cosines.push_back(std::cos(angle));
        sines.push_back(std::sin(angle));
    }
    DeviceVector<double> re(cosines), im(sines), magnitudes(padded);
    DeviceVector<double2> signal(n), longer(padded);
    gpuruntime::ComplexifyPtrPtr::Invoker<double>()(nullptr, signal.data(), re.data(), im.data(), n);
    gpuruntime::Conj::Invoker<double2>()(nullptr, signal.data(), signal.data(), n);
    gpuruntime::ComplexCopyPad::Invoker<double2>()(nullptr, longer.data(), padded, 1, signal.data(), n, 1);
    gpuruntime::Abs::Invoker<double2>()(nullptr, magnitudes.data(), longer.data(), padded);
    gpuruntime::Decomplexify::Invoker<double2>()(nullptr, re.data(), im.data(), longer.data(), n);

    Doubles const lengths = magnitudes.values(), x = re.values(), y = im.values();
    std::printf("\n%lu samples of a wave, padded to %lu: magnitudes", n, padded);
    for (unsigned long i = 0; i < padded; ++i) {
        std::printf(" %.3g", lengths[i]);
        require(std::abs(lengths[i] - (i < n ? 1 : 0)) < 1e-15, "a magnitude");
        require(i >= n || (x[i] == cosines[i] && y[i] == -sines[i]), "a part of the signal");
    }
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: solver <table.csv>\n");
        return 2;
    }
    check(gpuruntime::useCurrentDevice(), "reading the device's properties");
    auto columns = readColumns(argv[1]);
    for (Doubles& column : columns) standardize(column);
    Doubles const matrix = covariance(columns), factor = choleskyFactor(matrix);

    std::printf("covariance of %lu rows, in standard units:\n", columns[0].size());
    for (unsigned long r = 0; r < numColumns; ++r) {
        for (unsigned long c = 0; c < numColumns; ++c) std::printf("%8.3f", matrix[c * numColumns + r]);
        std::printf("\n");
    }
    std::printf("\n");
    Doubles diagonal(matrix.size()), skewed = matrix;
    for (unsigned long c = 0; c < numColumns; ++c)
        diagonal[c * (numColumns + 1)] = matrix[c * (numColumns + 1)];
    skewed[1] += 1;
    tell("the covariances", matrix, "Cholesky's method");
    tell("their Cholesky factor", factor, "forward substitution");
    tell("their diagonal", diagonal, "division by the diagonal");
    tell("one of them altered", skewed, "elimination with pivots");
    showSignal();
    return 0;
}
