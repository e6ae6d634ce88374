// Filters to look at: a photograph blurred, sharpened, searched for edges and resized, and a noisy series
// smoothed, each drawn as a picture.
//
//   filters <photo.png> <picture.png> <series.png>

#include <gpuruntime/arithmetic.hpp>
#include <gpuruntime/convolution.hpp>
#include <gpuruntime/current_device.hpp>
#include <gpuruntime/iir_filter.hpp>
#include <gpuruntime/imresize.hpp>
#include <gpuruntime/random.hpp>

#include <png.h>

#include <algorithm>
#include <boost/mpl/integral_c.hpp>
#include <boost/mpl/size_t.hpp>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "device_vector.hpp"

namespace {

using Floats = std::vector<float>;

/// Three planes one behind another, red, green and blue from 0 to 1; in each the rows one behind another, so
/// that x is dimension 0.
struct Picture {
    unsigned long width, height;
    Floats values;

    Picture(unsigned long width, unsigned long height, float value = 0)
        : width(width), height(height), values(3 * width * height, value) {}

    float& at(unsigned long x, unsigned long y, unsigned long plane) {
        return values[(plane * height + y) * width + x];
    }
    float at(unsigned long x, unsigned long y, unsigned long plane) const {
        return values[(plane * height + y) * width + x];
    }
};

Picture readPicture(char const* path) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    require(png_image_begin_read_from_file(&header, path) != 0, path);
    header.format = PNG_FORMAT_RGB;
    std::vector<unsigned char> bytes(PNG_IMAGE_SIZE(header));
    require(png_image_finish_read(&header, nullptr, bytes.data(), 0, nullptr) != 0, path);
    Picture picture(header.width, header.height);
    for (unsigned long i = 0; i < bytes.size(); ++i) {
        picture.values[i % 3 * header.width * header.height + i / 3] = static_cast<float>(bytes[i]) / 255;
    }
    return picture;
}

void writePicture(Picture const& picture, char const* path) {
    unsigned long const size = picture.width * picture.height;
    std::vector<unsigned char> bytes(3 * size);
    for (unsigned long i = 0; i < bytes.size(); ++i) {
        float const value = std::clamp(picture.values[i % 3 * size + i / 3], 0.0f, 1.0f);
        bytes[i] = static_cast<unsigned char>(std::lround(255 * value));
    }
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    header.format = PNG_FORMAT_RGB;
    header.width = static_cast<png_uint_32>(picture.width);
    header.height = static_cast<png_uint_32>(picture.height);
    require(png_image_write_to_file(&header, path, 0, bytes.data(), 0, nullptr) != 0, path);
}

/// The library sees zeros around its input; this goes on with the values at the edges.
Picture framed(Picture const& picture, unsigned long border) {
    Picture result(picture.width + 2 * border, picture.height + 2 * border);
    auto const inside = [border](unsigned long i, unsigned long size) {
        return std::clamp(i, border, border + size - 1) - border;
    };
    for (unsigned long plane = 0; plane < 3; ++plane) {
        for (unsigned long y = 0; y < result.height; ++y) {
            for (unsigned long x = 0; x < result.width; ++x) {
                result.at(x, y, plane) =
                    picture.at(inside(x, picture.width), inside(y, picture.height), plane);
            }
        }
    }
    return result;
}

/// By a filter of nine taps along the rows and the same along the columns, which is the two-dimensional one.
Picture blurred(Picture const& picture) {
    constexpr unsigned long taps = 9, border = taps / 2;
    // An operator of three taps, and six beyond them.
    using Convolve = gpuruntime::ConvolutionMatrix::Invoker<float, mpl_::integral_c<int, 3>>;
    Floats filter(taps);
    float sum = 0;
    for (unsigned long j = 0; j < taps; ++j) {
        float const distance = static_cast<float>(j) - border;
        sum += filter[j] = std::exp(-distance * distance / 8);
    }
    for (float& tap : filter) tap /= sum;

    Picture const input = framed(picture, border);
    unsigned long const inSizes[] = {input.width, input.height},
                        betweenSizes[] = {picture.width, input.height},
                        outSizes[] = {picture.width, picture.height};
    DeviceVector<float> in(input.values), between(3 * picture.width * input.height),
        out(picture.values.size()), deviceFilter(filter);
    gpuruntime::convn::OffsetsAndSzs along{}, across{};
    along.extentDim0 = picture.width;
    along.extentDim1 = input.height;
    along.startDim0 = along.outTrimDim0 = taps - 1;
    along.extraTaps = across.extraTaps = taps - 3;
    along.firstPiece = across.firstPiece = true;
    across.extentDim0 = picture.width;
    across.extentDim1 = picture.height;
    across.startDim1 = across.outTrimDim1 = taps - 1;
    for (unsigned long plane = 0; plane < 3; ++plane) {
        along.inPageOffset = plane * inSizes[0] * inSizes[1];
        along.outPageOffset = across.inPageOffset = plane * betweenSizes[0] * betweenSizes[1];
        across.outPageOffset = plane * outSizes[0] * outSizes[1];
        check(Convolve()(nullptr, between.data(), in.data(), deviceFilter.data(), inSizes, betweenSizes,
                         along, 3, gpuruntime::convolutioncommon::KernelType::Column),
              "blurring rows");
        check(Convolve()(nullptr, out.data(), between.data(), deviceFilter.data(), betweenSizes, outSizes,
                         across, 3, gpuruntime::convolutioncommon::KernelType::Row),
              "blurring columns");
    }
    Picture result = picture;
    result.values = out.values();
    return result;
}

/// One plane, framed by one element, through a filter of 3 by 3.
template <class T>
std::vector<T> convolved(std::vector<T> const& plane, unsigned long width, unsigned long height,
                         std::vector<T> const& filter) {
    unsigned long const inSizes[] = {width + 2, height + 2}, outSizes[] = {width, height}, offsets[] = {2, 2};
    DeviceVector<T> in(plane), out(width * height), deviceFilter(filter);
    check(gpuruntime::ConvolutionSquare::Invoker<T, mpl_::size_t<3>>()(
              nullptr, out.data(), in.data(), deviceFilter.data(), outSizes, inSizes, 2, offsets, {0, 0, 0}),
          "convolving");
    return out.values();
}

Picture sharpened(Picture const& picture) {
    Floats const filter{0, -1, 0, -1, 5, -1, 0, -1, 0};
    Picture const input = framed(picture, 1);
    unsigned long const size = input.width * input.height;
    Picture result(picture.width, 0);
    result.height = picture.height;
    for (unsigned long plane = 0; plane < 3; ++plane) {
        auto const first = input.values.begin() + static_cast<long>(plane * size);
        Floats const sharp =
            convolved(Floats(first, first + static_cast<long>(size)), picture.width, picture.height, filter);
        result.values.insert(result.values.end(), sharp.begin(), sharp.end());
    }
    return result;
}

/// The lengths of the gradients of the brightness: one complex filter has the differences along x for its
/// real and those along y for its imaginary part (Sobel and Feldman, 1968).
Picture edges(Picture const& picture) {
    std::vector<float2> const filter{{1, 1},  {0, 2},  {-1, 1}, {2, 0},  {0, 0},
                                     {-2, 0}, {1, -1}, {0, -2}, {-1, -1}};
    Picture const input = framed(picture, 1);
    unsigned long const size = input.width * input.height;
    std::vector<float2> brightness(size);
    for (unsigned long i = 0; i < size; ++i) {
        brightness[i].x =
            0.3f * input.values[i] + 0.59f * input.values[size + i] + 0.11f * input.values[2 * size + i];
    }
    DeviceVector<float2> gradients(convolved(brightness, picture.width, picture.height, filter));
    DeviceVector<float> lengths(gradients.size());
    gpuruntime::Abs::Invoker<float2>()(nullptr, lengths.data(), gradients.data(), gradients.size());
    Picture result(picture.width, 0);
    result.height = picture.height;
    Floats const gray = lengths.values();
    for (int plane = 0; plane < 3; ++plane) {
        for (float length : gray) result.values.push_back(1 - length / 2);
    }
    return result;
}

Picture resized(Picture const& picture, unsigned long width, unsigned long height) {
    Picture result(width, height);
    DeviceVector<float> in(picture.values), out(result.values.size());
    auto const scale = [](unsigned long to, unsigned long from) {
        return static_cast<double>(to) / static_cast<double>(from);
    };
    check(gpuruntime::Imresize::Invoker<float>()(nullptr, out.data(), in.data(), picture.width,
                                                 picture.height, width, height, 3,
                                                 scale(width, picture.width), scale(height, picture.height)),
          "resizing");
    result.values = out.values();
    return result;
}

Picture cut(Picture const& picture, unsigned long left, unsigned long top, unsigned long width,
            unsigned long height) {
    Picture result(width, height);
    for (unsigned long plane = 0; plane < 3; ++plane) {
        for (unsigned long y = 0; y < height; ++y) {
            for (unsigned long x = 0; x < width; ++x) {
                result.at(x, y, plane) = picture.at(left + x, top + y, plane);
            }
        }
    }
    return result;
}

void paste(Picture const& part, Picture& into, unsigned long left, unsigned long top) {
    for (unsigned long plane = 0; plane < 3; ++plane) {
        for (unsigned long y = 0; y < part.height; ++y) {
            for (unsigned long x = 0; x < part.width; ++x)
                into.at(left + x, top + y, plane) = part.at(x, y, plane);
        }
    }
}

float mean(Floats const& values) {
    double sum = 0;
    for (float value : values) sum += value;
    return static_cast<float>(sum / static_cast<double>(values.size()));
}

/// The photograph, blurred and sharpened; its edges, a third of it enlarged, and all of it reduced.
Picture contactSheet(Picture const& photo) {
    unsigned long const width = photo.width, height = photo.height, gap = 6;
    Picture sheet(3 * width + 4 * gap, 2 * height + 3 * gap, 1);
    Picture const soft = blurred(photo);
    require(std::abs(mean(soft.values) - mean(photo.values)) < 0.01f, "a blurred picture is as bright");
    Picture const same = resized(photo, width, height);
    require(same.values == photo.values, "a picture of the same size is the same");
    unsigned long const columns[] = {gap, width + 2 * gap, 2 * width + 3 * gap},
                        rows[] = {gap, height + 2 * gap};
    paste(photo, sheet, columns[0], rows[0]);
    paste(soft, sheet, columns[1], rows[0]);
    paste(sharpened(photo), sheet, columns[2], rows[0]);
    paste(edges(photo), sheet, columns[0], rows[1]);
    paste(resized(cut(photo, width / 3, height / 5, width / 3, height / 3), width, height), sheet, columns[1],
          rows[1]);
    Picture const half = resized(photo, width / 2, height / 2),
                  quarter = resized(photo, width / 4, height / 4);
    paste(half, sheet, columns[2], rows[1]);
    paste(quarter, sheet, columns[2] + width / 2 + gap, rows[1] + height / 4);
    return sheet;
}

/// A low-pass filter of order 2 (Butterworth, 1930) by the bilinear transform; `cutoff` in cycles a sample.
Floats smoothed(Floats const& series, float cutoff) {
    float const k = std::tan(3.14159265f * cutoff), q = std::sqrt(2.0f) * k;
    Floats const b{k * k, 2 * k * k, k * k}, a{1 + q + k * k, 2 * (k * k - 1), 1 - q + k * k};
    auto const n = static_cast<unsigned int>(series.size());
    DeviceVector<float> in(series), out(n), numerator(b), denominator(a);
    check(gpuruntime::IIRFilter::Invoker<float, mpl_::integral_c<int, 2>>()(
              nullptr, out.data(), nullptr, numerator.data(), denominator.data(), in.data(), nullptr, 3, 3, n,
              1, 1, 1, 0),
          "smoothing");
    return out.values();
}

/// Two slow waves under noise.
Floats noisySeries(unsigned long n) {
    unsigned int state[7] = {2026};
    DeviceVector<float> noise(n);
    check(gpuruntime::RandNInversion<gpucommon::rand::Philox4x32Generator>::Invoker<float>()(
              nullptr, noise.data(), state, n),
          "drawing noise");
    Floats series = noise.values();
    for (unsigned long i = 0; i < n; ++i) {
        auto const t = static_cast<float>(i) / static_cast<float>(n);
        series[i] = std::sin(12 * t) + 0.5f * std::sin(31 * t) + 0.4f * series[i];
    }
    return series;
}

/// A line through the values, from -2.5 at the bottom to 2.5 at the top.
void draw(Floats const& series, Picture& picture, Floats const& colour) {
    auto const rowOf = [&](float value) {
        float const row = (0.5f - value / 5) * static_cast<float>(picture.height);
        return static_cast<unsigned long>(std::clamp(row, 1.0f, static_cast<float>(picture.height - 2)));
    };
    for (unsigned long x = 1; x < series.size(); ++x) {
        unsigned long const to = rowOf(series[x]), from = rowOf(series[x - 1]);
        for (unsigned long y = std::min(from, to); y <= std::max(from, to) + 1; ++y) {
            for (unsigned long plane = 0; plane < 3; ++plane) picture.at(x, y, plane) = colour[plane];
        }
    }
}

Picture plot(unsigned long width, unsigned long height) {
    Picture picture(width, height, 1);
    Floats const noisy = noisySeries(width), smooth = smoothed(noisy, 0.02f);
    auto const roughness = [](Floats const& series) {
        float sum = 0;
        for (unsigned long i = 1; i < series.size(); ++i) sum += std::abs(series[i] - series[i - 1]);
        return sum;
    };
    require(roughness(smooth) < roughness(noisy) / 5, "a smoothed series is smooth");
    draw(noisy, picture, {0.65f, 0.7f, 0.8f});
    draw(smooth, picture, {0.8f, 0.2f, 0.1f});
    return picture;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: filters <photo.png> <picture.png> <series.png>\n");
        return 2;
    }
    check(gpuruntime::useCurrentDevice(), "reading the device's properties");
    Picture const photo = readPicture(argv[1]);
    writePicture(contactSheet(photo), argv[2]);
    writePicture(plot(900, 220), argv[3]);
    std::printf("%s: the photograph, blurred, sharpened; its edges, a part enlarged, all of it reduced\n",
                argv[2]);
    std::printf("%s: a noisy series and what a recursive filter leaves of it\n", argv[3]);
    return 0;
}
