// Reads memory on several threads, writes it without an end, and has a child that reads too.
#include <linux/dma-buf.h>
#include <lx2host/DmaBuf.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>
#include <vector>

namespace {

void Sync(int fd, uint64_t flags) {
    dma_buf_sync sync{flags};
    ioctl(fd, DMA_BUF_IOCTL_SYNC, &sync);
}

void Read(int fd) {
    for (int i = 0; i < 1000; ++i) {
        Sync(fd, DMA_BUF_SYNC_START | DMA_BUF_SYNC_READ);
        Sync(fd, DMA_BUF_SYNC_END | DMA_BUF_SYNC_READ);
    }
}

}  // namespace

int main() {
    const int fd = lx2::host::AllocateDmaBuf(4096);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(Read, fd);
    for (std::thread& thread : threads)
        thread.join();
    Sync(fd, DMA_BUF_SYNC_START | DMA_BUF_SYNC_WRITE);
    const pid_t child = fork();
    if (child == 0) {
        Read(fd);
        exit(0);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child ? status : 1;
}
