// Interlaced H.264: which pictures are the second field of a frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

struct AVCodecContext;
struct AVCodecParserContext;

namespace lx2::example {

class FieldPairs {
  public:
    FieldPairs();
    ~FieldPairs();

    // Whether this access unit, the next in order of decoding, holds the other field to that of the
    // unit before it, so that no frame of its own comes of it. Behind data lie 64 readable bytes.
    bool completes(const uint8_t* data, size_t size);

  private:
    struct Free {
        void operator()(AVCodecContext* context) const;
        void operator()(AVCodecParserContext* parser) const;
    };
    std::unique_ptr<AVCodecContext, Free> mContext;
    std::unique_ptr<AVCodecParserContext, Free> mParser;
    int mOpenField = 0;  // that still lacks the other one; 0 for none
};

}  // namespace lx2::example
