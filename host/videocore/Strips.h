// A picture strip by strip: two rows of luma, or the last one, and the row of chroma that belongs
// to them. No picture ever lies in memory as a whole on its way from one layout to another.
//
// Samples are bytes for layouts of 8 bit, and of 16 bits for those of 10.
#pragma once

#include <base/FrameGeometry.h>
#include <lx2host/FrameLayout.h>
#include <lx2host/VideoCore.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "Bt601.h"

namespace lx2::host {

// What both directions know of a frame's planes.
template <typename Sample>
class Strips {
  protected:
    explicit Strips(const FrameLayout& layout)
        : mLayout(layout),
          mIsRgb(geometry::IsRgb(layout.format)),
          mChromaWidth(geometry::CeilDiv<uint32_t>(layout.width, 2)),
          mRow(std::max(layout.planes[0].values(), layout.planes[1].values())) {}

    const PlaneLayout& plane(uint32_t channel) const {
        return mLayout.planes[mLayout.channels[channel].plane];
    }

    const FrameLayout& mLayout;
    const bool mIsRgb;
    const uint32_t mChromaWidth;
    std::vector<Sample> mRow;  // of a plane with several channels
};

template <typename Sample>
class StripReader : Strips<Sample> {
    using Base = Strips<Sample>;
    using Base::mChromaWidth, Base::mIsRgb, Base::mLayout, Base::mRow, Base::plane;

  public:
    StripReader(const uint8_t* memory, const FrameLayout& layout)
        : Base(layout), mMemory(memory), mLuma(size_t{2} * layout.width) {
        for (auto& chroma : mChroma)
            chroma.assign(mChromaWidth, static_cast<Sample>(128u << (layout.bitDepth - 8)));
    }

    // The strip from a row with an even number on. It stays until the next one is read.
    PictureView read(uint32_t row) {
        const uint32_t rows = std::min(2u, mLayout.height - row);
        if (mIsRgb)
            readRgb(row, rows);
        else
            readYuv(row, rows);
        const auto view = [](const std::vector<Sample>& samples, size_t count) {
            return PictureView::Plane{reinterpret_cast<const uint8_t*>(samples.data()),
                                      static_cast<ptrdiff_t>(count * sizeof(Sample))};
        };
        return {mLayout.width,
                rows,
                mLayout.bitDepth,
                sizeof(Sample),
                {{view(mLuma, mLayout.width), view(mChroma[0], 0), view(mChroma[1], 0)}}};
    }

  private:
    void readYuv(uint32_t row, uint32_t rows) {
        for (uint32_t i = 0; i < rows; ++i)
            plane(0).read(mMemory, row + i, &mLuma[size_t{i} * mLayout.width]);
        // A chroma row that is not there repeats the one above, a column the one before; where
        // there is none at all, the samples stay neutral.
        const PlaneLayout& chroma = plane(1);
        if (row / 2 >= chroma.height || chroma.width == 0)
            return;
        if (chroma.channels == 1) {
            chroma.read(mMemory, row / 2, mChroma[0].data());
            plane(2).read(mMemory, row / 2, mChroma[1].data());
        } else {
            chroma.read(mMemory, row / 2, mRow.data());
            split(mRow.data(), mChroma[0].data(), mChroma[1].data(), chroma.width);
        }
        for (auto& samples : mChroma) {
            if (chroma.width < mChromaWidth)
                samples[chroma.width] = samples[chroma.width - 1];
        }
    }

    static void split(const Sample* __restrict pairs, Sample* __restrict cb, Sample* __restrict cr,
                      uint32_t count) {
        for (uint32_t i = 0; i < count; ++i) {
            cb[i] = pairs[2 * i];
            cr[i] = pairs[2 * i + 1];
        }
    }

    void readRgb(uint32_t row, uint32_t rows) {
        std::vector<bt601::Rgb> sums(mChromaWidth, {0, 0, 0});
        for (uint32_t i = 0; i < rows; ++i) {
            plane(0).read(mMemory, row + i, mRow.data());
            for (uint32_t x = 0; x < mLayout.width; ++x) {
                const Sample* pixel = &mRow[size_t{x} * 4];
                mLuma[size_t{i} * mLayout.width + x] =
                    static_cast<Sample>(bt601::Luma({pixel[0], pixel[1], pixel[2]}));
                bt601::Rgb& sum = sums[x / 2];
                sum = {sum.r + pixel[0], sum.g + pixel[1], sum.b + pixel[2]};
            }
        }
        for (uint32_t x = 0; x < mChromaWidth; ++x) {
            const uint32_t columns = std::min(2u, mLayout.width - 2 * x);
            const bt601::Yuv chroma = bt601::Chroma(sums[x], static_cast<int>(rows * columns));
            mChroma[0][x] = static_cast<Sample>(chroma.cb);
            mChroma[1][x] = static_cast<Sample>(chroma.cr);
        }
    }

    const uint8_t* mMemory;
    std::vector<Sample> mLuma;
    std::vector<Sample> mChroma[2];
};

template <typename Sample>
class StripWriter : Strips<Sample> {
    using Base = Strips<Sample>;
    using Base::mChromaWidth, Base::mIsRgb, Base::mLayout, Base::mRow, Base::plane;

  public:
    StripWriter(uint8_t* memory, const FrameLayout& layout) : Base(layout), mMemory(memory) {
        for (auto& samples : mConverted)
            samples.resize(layout.width);
    }

    // The strip from a row with an even number on, in samples of any depth.
    void write(uint32_t row, const PictureView& strip) {
        const Sample* cb = samples(strip, 1, 0, mChromaWidth);
        const Sample* cr = samples(strip, 2, 0, mChromaWidth);
        for (uint32_t i = 0; i < strip.height; ++i) {
            const Sample* luma = samples(strip, 0, i, mLayout.width);
            if (mIsRgb)
                writeRgb(row + i, luma, cb, cr);
            else
                plane(0).write(mMemory, row + i, luma);
        }
        if (!mIsRgb && row / 2 < plane(1).height)
            writeChroma(row / 2, cb, cr);
    }

  private:
    // A row in this frame's samples: the picture's own, or made of them.
    const Sample* samples(const PictureView& picture, uint32_t channel, uint32_t row,
                          uint32_t count) {
        const auto& plane = picture.planes[channel];
        const uint8_t* data = plane.data + static_cast<ptrdiff_t>(row) * plane.pitch;
        if (picture.sampleBytes == sizeof(Sample) && picture.bitDepth == mLayout.bitDepth)
            return reinterpret_cast<const Sample*>(data);
        Sample* to = mConverted[channel].data();
        if (picture.sampleBytes == 1)
            convert(data, picture.bitDepth, to, count);
        else
            convert(reinterpret_cast<const uint16_t*>(data), picture.bitDepth, to, count);
        return to;
    }

    template <typename From>
    void convert(const From* __restrict from, uint32_t depth, Sample* __restrict to,
                 uint32_t count) const {
        const uint32_t up = std::max(mLayout.bitDepth, depth) - depth;
        const uint32_t down = std::max(mLayout.bitDepth, depth) - mLayout.bitDepth;
        for (uint32_t i = 0; i < count; ++i)
            to[i] = static_cast<Sample>(from[i] << up >> down);
    }

    void writeChroma(uint32_t row, const Sample* cb, const Sample* cr) {
        const PlaneLayout& chroma = plane(1);
        if (chroma.channels == 1) {
            chroma.write(mMemory, row, cb);
            plane(2).write(mMemory, row, cr);
        } else {
            merge(cb, cr, mRow.data(), chroma.width);
            chroma.write(mMemory, row, mRow.data());
        }
    }

    static void merge(const Sample* __restrict cb, const Sample* __restrict cr,
                      Sample* __restrict pairs, uint32_t count) {
        for (uint32_t i = 0; i < count; ++i) {
            pairs[2 * i] = cb[i];
            pairs[2 * i + 1] = cr[i];
        }
    }

    void writeRgb(uint32_t row, const Sample* luma, const Sample* cb, const Sample* cr) {
        constexpr Sample kOpaque = 255;
        for (uint32_t x = 0; x < mLayout.width; ++x) {
            const bt601::Rgb rgb = bt601::ToRgb({luma[x], cb[x / 2], cr[x / 2]});
            Sample* pixel = &mRow[size_t{x} * 4];
            pixel[0] = static_cast<Sample>(rgb.r);
            pixel[1] = static_cast<Sample>(rgb.g);
            pixel[2] = static_cast<Sample>(rgb.b);
            pixel[3] = kOpaque;
        }
        plane(0).write(mMemory, row, mRow.data());
    }

    uint8_t* mMemory;
    std::vector<Sample> mConverted[3];
};

}  // namespace lx2::host
