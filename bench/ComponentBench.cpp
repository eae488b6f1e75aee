// The whole decoder component beside what it is built around: libavcodec alone, on one thread, that
// writes the same frames of the same clip to a file in the same place. Runs both in turn, each in a
// process of its own, and prints their processor times (user and system) and the ratio of those.
//
//   component_bench [<lx2_decoder>] [<rounds>]
//
// The clip, 1080p of a moving test picture, is made by FFmpeg. A filter of benchmarks leaves this
// one out.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

constexpr const char* kMakeClip =
    "ffmpeg -v error -nostdin -y -f lavfi -i testsrc2=s=1920x1080:r=30 -frames:v 120 "
    "-c:v libx264 -threads 2 -pix_fmt yuv420p -f h264 ";

// In memory where there is a file system for that: the disk is not what is compared.
std::filesystem::path WorkFolder() {
    const std::filesystem::path memory = "/dev/shm";
    std::string name =
        (std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path()) /
        "component-bench-XXXXXX";
    return mkdtemp(name.data()) != nullptr ? name : "";
}

// Writes the finished frames, planar, row by row as far as rows are padded.
void WriteFrames(AVCodecContext* context, AVFrame* frame, FILE* out) {
    while (avcodec_receive_frame(context, frame) == 0) {
        for (int plane = 0; plane < 3; ++plane) {
            const int width = plane == 0 ? frame->width : (frame->width + 1) / 2;
            const int height = plane == 0 ? frame->height : (frame->height + 1) / 2;
            for (int row = 0; row < height; ++row)
                fwrite(frame->data[plane] + static_cast<ptrdiff_t>(row) * frame->linesize[plane], 1,
                       static_cast<size_t>(width), out);
        }
        av_frame_unref(frame);
    }
}

int DecodeAlone(const std::string& clip, const std::string& frames) {
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264));
    AVCodecParserContext* parser = av_parser_init(AV_CODEC_ID_H264);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    FILE* out = fopen(frames.c_str(), "wb");
    std::ifstream file(clip, std::ios::binary);
    std::vector<char> input{std::istreambuf_iterator<char>(file), {}};
    if (context == nullptr || parser == nullptr || out == nullptr || input.empty())
        return 1;
    setvbuf(out, nullptr, _IOFBF, 256 * 1024);
    context->thread_count = 1;
    if (avcodec_open2(context, context->codec, nullptr) != 0)
        return 1;
    const size_t size = input.size();
    input.resize(size + AV_INPUT_BUFFER_PADDING_SIZE);
    for (size_t at = 0; at <= size;) {
        const int used =
            av_parser_parse2(parser, context, &packet->data, &packet->size,
                             reinterpret_cast<uint8_t*>(input.data()) + at,
                             static_cast<int>(size - at), AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
        const bool last = at == size;
        at += static_cast<size_t>(used) + (last ? 1 : 0);
        if (packet->size > 0) {
            avcodec_send_packet(context, packet);
            WriteFrames(context, frame, out);
        }
    }
    avcodec_send_packet(context, nullptr);
    WriteFrames(context, frame, out);
    return fclose(out);
}

struct Usage {
    double seconds = 0;  // of the processor
    long faults = 0;
    bool good = false;
};

// Runs action in a child, which ends with what it returns.
template <typename Action>
Usage Measured(Action action) {
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0)
        _exit(action());
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child)
        return {};
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_minflt,
            WIFEXITED(status) && WEXITSTATUS(status) == 0};
}

int Compare(const std::string& decoder, int rounds, const std::string& folder) {
    const std::string clip = folder + "/clip.264", out = folder + "/out";
    if (system((kMakeClip + clip).c_str()) != 0)
        return 1;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        const Usage alone = Measured([&] { return DecodeAlone(clip, folder + "/frames.yuv"); });
        std::filesystem::remove(folder + "/frames.yuv");
        const Usage whole = Measured([&] {
            if (freopen("/dev/null", "w", stdout) == nullptr ||
                freopen("/dev/null", "w", stderr) == nullptr)
                return 1;
            execl(decoder.c_str(), decoder.c_str(), "--out", out.c_str(), clip.c_str(), nullptr);
            return 1;
        });
        std::filesystem::remove_all(out);
        if (!alone.good || !whole.good)
            return 1;
        ratios.push_back(whole.seconds / alone.seconds);
        printf("decoder alone %.3f s, %ld page faults; component %.3f s, %ld page faults: %.2f\n",
               alone.seconds, alone.faults, whole.seconds, whole.faults, ratios.back());
    }
    std::sort(ratios.begin(), ratios.end());
    printf("component to decoder alone, processor time, median of %d: %.2f\n", rounds,
           ratios[ratios.size() / 2]);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && argv[1][0] == '-')
        return 0;
    const std::filesystem::path folder = WorkFolder();
    const int result = Compare(argc > 1 ? argv[1] : LX2_DECODER,
                               std::max(1, argc > 2 ? atoi(argv[2]) : 5), folder);
    std::filesystem::remove_all(folder);
    return result;
}
