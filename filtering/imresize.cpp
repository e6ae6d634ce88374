#include <gpuruntime/imresize.hpp>

#include <cstddef>

#include "filtering/cubic_taps.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "patch_sums.hpp"
#include "texels.hpp"

namespace {

/// Rows are dimension 0, the contiguous one.
struct imresize_param_t {
    unsigned long outRows, outCols, inRows, inCols;
    double invScaleRows, scaleRows, invScaleCols, scaleCols;
    unsigned long texOffset;  ///< as bound: added to the index of an element
};
static_assert(offsetof(imresize_param_t, inRows) == 16 && offsetof(imresize_param_t, invScaleRows) == 32);
static_assert(offsetof(imresize_param_t, invScaleCols) == 48 && offsetof(imresize_param_t, texOffset) == 64);
static_assert(sizeof(imresize_param_t) == 72);

gpuruntime::backend::LinearTexture<float> tex_f32;
gpuruntime::backend::LinearTexture<double> tex_f64;

template <class T>
auto& textureOf() {
    if constexpr (sizeof(T) == sizeof(float)) {
        return tex_f32;
    } else {
        return tex_f64;
    }
}

}  // namespace

template <>
cudaError bind<float>(unsigned long* offset, float const* data, unsigned long count) {
    return tex_f32.bind(offset, data, count);
}

template <>
cudaError bind<double>(unsigned long* offset, double const* data, unsigned long count) {
    return tex_f64.bind(offset, data, count);
}

template <>
cudaError unbind<float>() {
    return tex_f32.unbind();
}

template <>
cudaError unbind<double>() {
    return tex_f64.unbind();
}

namespace gpuruntime {
namespace imresize {
namespace {

/// Stores the elements of a patch in `Planes` planes, from plane `Planes` * `group` on.
template <unsigned int Planes, bool isNormalised, class T>
GPU_DEVICE void resize(backend::Patch const& patch, T* out, imresize_param_t const& param, unsigned int group,
                       backend::Texels<T> texels, bool areRowsWidened, bool areColumnsWidened) {
    auto const inRows = static_cast<unsigned int>(param.inRows),
               inCols = static_cast<unsigned int>(param.inCols);
    auto const outRows = static_cast<unsigned int>(param.outRows);
    auto const outCols = static_cast<unsigned int>(param.outCols);
    unsigned int const plane = Planes * group;
    backend::TapSource<Taps, T, Planes, isNormalised> const source{
        {param.invScaleRows, param.scaleRows, inRows, areRowsWidened},
        {param.invScaleCols, param.scaleCols, inCols, areColumnsWidened},
        texels,
        static_cast<unsigned int>(param.texOffset) + plane * inRows * inCols};
    bool const isStreamed = backend::isStreamed<T>(1ul * Planes * outRows * outCols);
    backend::sumTaps(patch, source, isStreamed, [=](unsigned int p, unsigned int col) {
        return out + ((plane + p) * outCols + col) * outRows;
    });
}

template <class T, unsigned int Planes>
struct ExpandOnlyKernel {
    static constexpr unsigned int blocksOfPatch = 64;

    static GPU_DEVICE void apply(backend::Patch const& patch, T* out, imresize_param_t param,
                                 unsigned int group, backend::Texels<T> texels) {
        resize<Planes, false>(patch, out, param, group, texels, false, false);
    }
};

template <class T, unsigned int Planes>
struct ReduceOnlyKernel {
    static constexpr unsigned int blocksOfPatch = 16;

    static GPU_DEVICE void apply(backend::Patch const& patch, T* out, imresize_param_t param,
                                 unsigned int group, backend::Texels<T> texels) {
        resize<Planes, true>(patch, out, param, group, texels, true, true);
    }
};

/// One dimension shrinks, the other does not.
template <class T, unsigned int Planes>
struct GeneralKernel {
    static constexpr unsigned int blocksOfPatch = 16;

    static GPU_DEVICE void apply(backend::Patch const& patch, T* out, imresize_param_t param,
                                 unsigned int group, backend::Texels<T> texels) {
        resize<Planes, true>(patch, out, param, group, texels, !(param.invScaleRows < 1),
                             !(param.invScaleCols < 1));
    }
};

/// Launches the kernel of the scales for planes `Planes` * `group` on.
template <unsigned int Planes, class T>
cudaError launch(CUstream_st* stream, T* out, imresize_param_t const& param, unsigned long group) {
    if (param.outRows == 0 || param.outCols == 0) return cudaSuccess;
    auto const with = [&](auto kernel) {
        return elementwise2ddetail::launch<decltype(kernel)>(stream, param.outRows, param.outCols, out, param,
                                                             group, backend::Texels<T>(textureOf<T>()));
    };
    if (param.scaleRows >= 1 && param.scaleCols >= 1) return with(ExpandOnlyKernel<T, Planes>{});
    if (param.scaleRows < 1 && param.scaleCols < 1) return with(ReduceOnlyKernel<T, Planes>{});
    return with(GeneralKernel<T, Planes>{});
}

/// Three planes at a time, and one by one what is left.
template <class T>
cudaError launchPlanes(CUstream_st* stream, T* out, imresize_param_t const& param, unsigned long numPlanes) {
    cudaError status = cudaSuccess;
    for (unsigned long group = 0; group < numPlanes / 3 && status == cudaSuccess; ++group) {
        status = launch<3>(stream, out, param, group);
    }
    for (unsigned long plane = numPlanes / 3 * 3; plane < numPlanes && status == cudaSuccess; ++plane) {
        status = launch<1>(stream, out, param, plane);
    }
    return status;
}

}  // namespace
}  // namespace imresize

template <class T>
cudaError Imresize::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long inRows,
                                           unsigned long inCols, unsigned long outRows, unsigned long outCols,
                                           unsigned long numPlanes, double scaleRows,
                                           double scaleCols) const {
    unsigned long offset = 0;
    cudaError const bound = bind(&offset, in, inRows * inCols * numPlanes);
    if (bound != cudaSuccess) return bound;
    imresize_param_t const param{outRows,   outCols,       inRows,    inCols, 1 / scaleRows,
                                 scaleRows, 1 / scaleCols, scaleCols, offset};
    cudaError const status = imresize::launchPlanes(stream, out, param, numPlanes);
    cudaError const unbound = unbind<T>();
    return status != cudaSuccess ? status : unbound;
}

void _forceInstantiation_(detail::Opaque& opaque, Imresize*) {
    internal::instantiate<Imresize>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime
