// Heights on a finer grid, by lines and by cubics, drawn as shaded relief; and a profile from the sea across
// the mountains. Each result is checked against a plain loop.
//
//   relief <heights.asc> [<folder>]      an Esri ASCII grid of the Alps; pictures go into the folder, as
//                                        portable grey maps

#include <gpuruntime/current_device.hpp>
#include <gpuruntime/grids.hpp>
#include <gpuruntime/interpolation.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "device_vector.hpp"

namespace {

using gpuruntime::InterpType;

/// Heights in metres, from west to east and from south to north, at so many degrees.
struct Relief {
    unsigned long nx = 0, ny = 0;
    double west = 0, south = 0, step = 0;
    std::vector<float> heights;

    float at(unsigned long x, unsigned long y) const { return heights[y * nx + x]; }
};

Relief readRelief(char const* path) {
    Relief relief;
    std::ifstream file(path);
    std::string name;
    file >> name >> relief.nx >> name >> relief.ny >> name >> relief.west >> name >> relief.south >> name >>
        relief.step;
    relief.heights.resize(relief.nx * relief.ny);
    for (unsigned long y = relief.ny; y-- > 0;) {  // the file begins in the north
        for (unsigned long x = 0; x < relief.nx; ++x) file >> relief.heights[y * relief.nx + x];
    }
    require(relief.nx > 3 && relief.ny > 3 && !file.fail(), "the file is no grid of heights");
    return relief;
}

/// Each distance divided into so many.
Relief finer(Relief const& relief, unsigned long factor, InterpType method) {
    Relief result = relief;
    result.nx = (relief.nx - 1) * factor + 1;
    result.ny = (relief.ny - 1) * factor + 1;
    result.step = relief.step / static_cast<double>(factor);
    auto const positions = [&](unsigned long count) {  // counted from 1
        std::vector<double> at;
        for (unsigned long i = 0; i < count; ++i)
            at.push_back(1 + static_cast<double>(i) / static_cast<double>(factor));
        return at;
    };
    unsigned long const gridSizes[] = {relief.nx, relief.ny}, querySizes[] = {result.nx, result.ny};
    unsigned long const sectionOfY = (result.nx + 15) / 16 * 16;
    DeviceVector<float> values(relief.heights), out(result.nx * result.ny);
    DeviceVector<double> x(positions(result.nx)), y(positions(result.ny));
    DeviceVector<long> bins(sectionOfY + result.ny);
    gpuruntime::IndexSearch_ColonGrid::Invoker<double> const search;
    search(nullptr, bins.data(), 0, x.data(), relief.nx, result.nx);
    search(nullptr, bins.data(), sectionOfY, y.data(), relief.ny, result.ny);
    gpuruntime::Interp2d_CompactQuery_ColonGrid::Invoker<double, float>()(
        nullptr, out.data(), values.data(), x.data(), y.data(), bins.data(), querySizes, 2, gridSizes, 2, 0,
        method, InterpType::ExtrapValue);
    result.heights = out.values();
    for (unsigned long j = 0; j < relief.ny; ++j) {
        for (unsigned long i = 0; i < relief.nx; ++i)
            require(result.at(i * factor, j * factor) == relief.at(i, j),
                    "heights at the points of the grid");
    }
    return result;
}

/// A point's height by lines, or close to it.
double plainHeight(Relief const& relief, double longitude, double latitude) {
    double const x = (longitude - relief.west) / relief.step, y = (latitude - relief.south) / relief.step;
    auto const i = static_cast<unsigned long>(x), j = static_cast<unsigned long>(y);
    double const u = x - static_cast<double>(i), v = y - static_cast<double>(j);
    double const low = relief.at(i, j) * (1 - u) + relief.at(i + 1, j) * u;
    double const high = relief.at(i, j + 1) * (1 - u) + relief.at(i + 1, j + 1) * u;
    return low * (1 - v) + high * v;
}

/// Heights at points of the straight line between two, in degrees.
struct Profile {
    std::vector<double> longitudes, latitudes;
    std::vector<float> heights;
};

Profile profileOf(Relief const& relief, double2 from, double2 to, unsigned long numPoints) {
    Profile profile;
    for (unsigned long i = 0; i < numPoints; ++i) {
        double const share = static_cast<double>(i) / static_cast<double>(numPoints - 1);
        profile.longitudes.push_back(from.x + (to.x - from.x) * share);
        profile.latitudes.push_back(from.y + (to.y - from.y) * share);
    }
    std::vector<double> gridX, gridY;
    for (unsigned long i = 0; i < relief.nx; ++i)
        gridX.push_back(relief.west + relief.step * static_cast<double>(i));
    for (unsigned long i = 0; i < relief.ny; ++i)
        gridY.push_back(relief.south + relief.step * static_cast<double>(i));
    unsigned long const gridSizes[] = {relief.nx, relief.ny};
    DeviceVector<double> pointsX(gridX), pointsY(gridY), x(profile.longitudes), y(profile.latitudes);
    DeviceVector<float> values(relief.heights), out(numPoints);
    gpuruntime::Interp2d_NonCompactQuery::Invoker<double, float>()(
        nullptr, out.data(), pointsX.data(), pointsY.data(), values.data(), x.data(), y.data(), gridSizes, 2,
        numPoints, 0, InterpType::Linear, InterpType::ExtrapValue);
    profile.heights = out.values();
    for (unsigned long i = 0; i < numPoints; ++i) {
        double const plain = plainHeight(relief, profile.longitudes[i], profile.latitudes[i]);
        require(std::abs(profile.heights[i] - plain) < 0.01, "profile");
    }
    return profile;
}

/// Light from the northwest, at 45 degrees; slopes are drawn steeper than they are.
void drawShaded(Relief const& relief, std::string const& path) {
    double const metresOfDegree = 111195, exaggeration = 4, half = std::sqrt(0.5);
    double const middle =
        (relief.south + relief.step * static_cast<double>(relief.ny) / 2) * std::acos(-1) / 180;
    double const stepY = relief.step * metresOfDegree, stepX = stepY * std::cos(middle);
    std::ofstream file(path, std::ios::binary);
    file << "P5\n" << relief.nx << ' ' << relief.ny << "\n255\n";
    for (unsigned long y = relief.ny; y-- > 0;) {
        for (unsigned long x = 0; x < relief.nx; ++x) {
            unsigned long const left = x == 0 ? 0 : x - 1, right = std::min(x + 1, relief.nx - 1);
            unsigned long const below = y == 0 ? 0 : y - 1, above = std::min(y + 1, relief.ny - 1);
            double const slopeX = exaggeration * (relief.at(right, y) - relief.at(left, y)) /
                                  (stepX * static_cast<double>(right - left));
            double const slopeY = exaggeration * (relief.at(x, above) - relief.at(x, below)) /
                                  (stepY * static_cast<double>(above - below));
            double const length = std::sqrt(slopeX * slopeX + slopeY * slopeY + 1);
            double const light = (half * (half * slopeX - half * slopeY) + half) / length;
            file.put(static_cast<char>(static_cast<unsigned char>(255 * std::max(light, 0.0))));
        }
    }
    require(!file.fail(), "a picture cannot be written");
}

void print(Profile const& profile) {
    for (unsigned long i = 0; i < profile.heights.size(); ++i) {
        std::printf("%6.2f N %6.2f E %6.0f m  ", profile.latitudes[i], profile.longitudes[i],
                    static_cast<double>(profile.heights[i]));
        for (float height = 0; height < profile.heights[i]; height += 60) std::putchar('#');
        std::putchar('\n');
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::fprintf(stderr, "usage: relief <heights.asc> [<folder>]\n");
        return 2;
    }
    check(gpuruntime::useCurrentDevice(), "reading the device's properties");
    Relief const relief = readRelief(argv[1]);
    Relief const byLines = finer(relief, 6, InterpType::Linear),
                 byCubics = finer(relief, 6, InterpType::Cubic);
    for (unsigned long y = 0; y + 1 < byLines.ny; ++y) {
        for (unsigned long x = 0; x + 1 < byLines.nx; ++x) {
            double const plain = plainHeight(relief, relief.west + byLines.step * static_cast<double>(x),
                                             relief.south + byLines.step * static_cast<double>(y));
            require(std::abs(byLines.at(x, y) - plain) < 0.01, "heights between points");
        }
    }
    double2 const genoa{8.93, 44.41}, munich{11.58, 48.14};
    print(profileOf(relief, genoa, munich, 40));
    if (argc == 3) {
        std::string const folder = argv[2];
        drawShaded(relief, folder + "/relief.pgm");
        drawShaded(byLines, folder + "/relief-lines.pgm");
        drawShaded(byCubics, folder + "/relief-cubics.pgm");
    }
    std::printf("%lu x %lu heights became %lu x %lu\n", relief.nx, relief.ny, byLines.nx, byLines.ny);
}
