// The example components with their client beside what they are built around: libavcodec alone,
// which decodes or encodes the same pictures. It leaves them in three planes; the component writes
// NV12, as the program ffmpeg does on request. Both run in turn, each in a process of its own; each
// line is the median of the ratios of some rounds, with its aim.
//
//   component_bench [<rounds>]
//   component_bench decode|encode <threads> <clip> <target>    libavcodec's part
//
// The clip, 1080p of a moving test picture, is made by FFmpeg. A filter of benchmarks leaves this
// program out.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
}

#include "Ratio.h"

namespace {

constexpr const char* kMakeClip =
    "ffmpeg -v error -nostdin -y -f lavfi -i testsrc2=s=1920x1080:r=30 -frames:v 120 "
    "-c:v libx264 -threads 2 -pix_fmt yuv420p ";

using Use = std::function<void(AVFrame*)>;  // null at the end

// Decodes the file's video; false when that fails.
bool Decode(const std::string& clip, int threads, const Use& use) {
    AVFormatContext* file = nullptr;
    if (avformat_open_input(&file, clip.c_str(), nullptr, nullptr) != 0 ||
        avformat_find_stream_info(file, nullptr) < 0)
        return false;
    const AVCodec* codec = nullptr;
    const int video = av_find_best_stream(file, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    if (video < 0 || avcodec_parameters_to_context(context, file->streams[video]->codecpar) < 0)
        return false;
    context->thread_count = threads;
    if (avcodec_open2(context, codec, nullptr) != 0)
        return false;
    for (bool more = true; more;) {
        more = av_read_frame(file, packet) == 0;
        if (!more || packet->stream_index == video)
            avcodec_send_packet(context, more ? packet : nullptr);
        av_packet_unref(packet);
        while (avcodec_receive_frame(context, frame) == 0) {
            use(frame);
            av_frame_unref(frame);
        }
    }
    use(nullptr);
    return true;
}

// Writes the frames, row by row as far as rows are padded.
int DecodeAlone(const std::string& clip, int threads, const std::string& target) {
    FILE* out = fopen(target.c_str(), "wb");
    if (out == nullptr)
        return 1;
    std::vector<char> buffer(256 * 1024);
    setvbuf(out, buffer.data(), _IOFBF, buffer.size());
    const bool good = Decode(clip, threads, [out](AVFrame* frame) {
        for (int plane = 0; frame != nullptr && plane < 3; ++plane) {
            const int width = plane == 0 ? frame->width : (frame->width + 1) / 2;
            const int height = plane == 0 ? frame->height : (frame->height + 1) / 2;
            for (int row = 0; row < height; ++row)
                fwrite(frame->data[plane] + static_cast<ptrdiff_t>(row) * frame->linesize[plane], 1,
                       static_cast<size_t>(width), out);
        }
    });
    return fclose(out) == 0 && good ? 0 : 1;
}

// With the settings of the encoder component's hardware.
int EncodeAlone(const std::string& clip, int threads, const std::string& target) {
    FILE* out = fopen(target.c_str(), "wb");
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_encoder_by_name("libx264"));
    AVPacket* packet = av_packet_alloc();
    context->width = 1920;
    context->height = 1080;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = {1, 30};
    context->framerate = {30, 1};
    context->bit_rate = 4000000;
    context->gop_size = 1 << 20;
    context->max_b_frames = 0;
    context->thread_count = threads;
    av_opt_set(context->priv_data, "preset", "veryfast", 0);
    av_opt_set(context->priv_data, "tune", "zerolatency", 0);
    av_opt_set(context->priv_data, "x264-params", "scenecut=0", 0);
    if (out == nullptr || avcodec_open2(context, nullptr, nullptr) != 0)
        return 1;
    int64_t index = 0;
    const bool good = Decode(clip, threads, [&](AVFrame* frame) {
        if (frame != nullptr) {
            frame->pts = index++;
            frame->pict_type = AV_PICTURE_TYPE_NONE;
        }
        avcodec_send_frame(context, frame);
        while (avcodec_receive_packet(context, packet) == 0) {
            fwrite(packet->data, 1, static_cast<size_t>(packet->size), out);
            av_packet_unref(packet);
        }
    });
    return fclose(out) == 0 && good ? 0 : 1;
}

using Arguments = std::vector<std::string>;

// Gives up this process for a program, or gives 1.
int Become(const char* program, const Arguments& arguments) {
    if (freopen("/dev/null", "w", stdout) == nullptr ||
        freopen("/dev/null", "w", stderr) == nullptr)
        return 1;
    std::vector<char*> argv{const_cast<char*>(program)};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    execvp(program, argv.data());
    return 1;
}

struct Usage {
    double processor = 0, wall = 0;  // seconds
    long faults = 0;
};

// Runs action in a child, which ends with what it returns. Ends the program when that isn't 0.
Usage Measured(const std::function<int()>& action) {
    fflush(stdout);
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0)
        _exit(action());
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        fprintf(stderr, "component_bench: a child failed\n");
        exit(1);
    }
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime),
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
            usage.ru_minflt};
}

struct Contest {
    const char* name;
    double Usage::*time;
    double aim;
    Arguments peer, ours;
    const char* peerProgram = "/proc/self/exe";
    std::string trace = {};  // ours writes its trace there
};

void Run(const Contest& contest, int rounds) {
    std::vector<double> ratios, peers, own;
    long peerFaults = 0, ownFaults = 0;
    for (int round = 0; round < rounds; ++round) {
        const Usage peer = Measured([&] { return Become(contest.peerProgram, contest.peer); });
        const Usage ours = Measured([&] {
            if (!contest.trace.empty())
                setenv("LX2_TRACE", contest.trace.c_str(), 1);
            return Become(LX2_CLIENT, contest.ours);
        });
        peers.push_back(peer.*contest.time);
        own.push_back(ours.*contest.time);
        ratios.push_back(own.back() / peers.back());
        peerFaults = peer.faults;
        ownFaults = ours.faults;
    }
    const double ratio = lx2::bench::Median(ratios);
    printf("%-60s %.2f to %.2f s, %ld to %ld page faults: %.2f, aim %.2f: %s\n", contest.name,
           lx2::bench::Median(own), lx2::bench::Median(peers), ownFaults, peerFaults, ratio,
           contest.aim, ratio <= contest.aim ? "met" : "missed");
}

int Compare(int rounds, const std::string& folder) {
    const std::string clip = folder + "/clip.mp4", out = folder + "/out", file = folder + "/file";
    if (system((kMakeClip + clip).c_str()) != 0)
        return 1;
    const Arguments decode{"--out", out, clip}, encode{"--encode", "--out", out, clip};
    const Contest contests[] = {
        {"decoder to FFmpeg on one thread, processor time",
         &Usage::processor,
         1.05,
         {"decode", "1", clip, file},
         decode},
        {"decoder to ffmpeg that writes the same NV12, processor time",
         &Usage::processor,
         1.05,
         {"-v", "error", "-nostdin", "-y", "-threads", "1", "-i", clip, "-f", "rawvideo",
          "-pix_fmt", "nv12", file},
         decode,
         "ffmpeg"},
        {"decoder to FFmpeg on all threads, wall time",
         &Usage::wall,
         1.0,
         {"decode", "0", clip, file},
         decode},
        {"decoder without files to FFmpeg with them, processor time",
         &Usage::processor,
         1.0,
         {"decode", "1", clip, file},
         {clip}},
        {"encoder to FFmpeg, processor time",
         &Usage::processor,
         1.15,
         {"encode", "1", clip, file},
         encode},
        {"decoder with LX2_TRACE to without, processor time", &Usage::processor, 1.03, decode,
         decode, LX2_CLIENT, folder + "/trace.json"},
    };
    for (const Contest& contest : contests)
        Run(contest, rounds);
    return 0;
}

// In memory where there is a file system for that: the disk is not what is compared.
std::filesystem::path WorkFolder() {
    const std::filesystem::path memory = "/dev/shm";
    std::string name =
        (std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path()) /
        "component-bench-XXXXXX";
    return mkdtemp(name.data()) != nullptr ? name : "";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && argv[1][0] == '-')
        return 0;
    av_log_set_level(AV_LOG_QUIET);
    if (argc == 5) {
        const auto alone = strcmp(argv[1], "encode") == 0 ? EncodeAlone : DecodeAlone;
        return alone(argv[3], atoi(argv[2]), argv[4]);
    }
    const std::filesystem::path folder = WorkFolder();
    const int result = Compare(std::max(1, argc > 1 ? atoi(argv[1]) : 5), folder);
    std::filesystem::remove_all(folder);
    return result;
}
