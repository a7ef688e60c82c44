/* A receiver in one file of C: follows one sender from where it is to its end, or until it has sent
 * nothing for some ten seconds, or until so many samples were received or lost.
 *
 *   connection-reader NUMBER [SAMPLES] > samples.raw
 *
 * The samples go to standard output as 32-bit floats; every loss is told on standard error, and at
 * the end the sum. connection.md explains the two blocks. Exit status: 0 as said, 1 there is no
 * such sender, 2 the blocks don't agree, 3 the samples could not be written. Compile with: cc
 * -std=c11 -O2 connection-reader.c */
#if !defined(_WIN32)
#define _GNU_SOURCE
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#else
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#endif
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { RING = 32768, MASK = RING - 1, BLOCK_BYTES = 131784, STATE_BYTES = 4096, IDLE_LOOKS = 5000 };

/* A block, mapped for reading, or a null pointer. */
static const char* map_block(int slot, const char* suffix, size_t bytes) {
    char name[64];
#if defined(_WIN32)
    MEMORY_BASIC_INFORMATION memory;
    snprintf(name, sizeof name, "Connection #%d%s", slot, suffix);
    HANDLE mapping = OpenFileMappingA(FILE_MAP_READ, FALSE, name);
    const char* view = mapping ? MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, bytes) : NULL;
    if (!view || !VirtualQuery(view, &memory, sizeof memory) || memory.State != MEM_COMMIT ||
        memory.RegionSize < bytes)
        return NULL;
    return view;
#else
    struct stat status;
    snprintf(name, sizeof name, "/tarn-%u-Connection #%d%s", getuid(), slot, suffix);
    int file = shm_open(name, O_RDONLY | O_CLOEXEC, 0);
    if (file < 0 || fstat(file, &status) != 0 || status.st_uid != getuid() ||
        (size_t)status.st_size < bytes || flock(file, LOCK_SH) != 0 || fstat(file, &status) != 0 ||
        status.st_nlink == 0) /* it was just swept away */
        return NULL;
    void* view = mmap(NULL, bytes, PROT_READ, MAP_SHARED, file, 0);
    return view == MAP_FAILED ? NULL : view; /* the lock lasts as long as the open file */
#endif
}

static void wait_a_little(void) {
#if defined(_WIN32)
    Sleep(2);
#else
    nanosleep(&(struct timespec){0, 2000000}, NULL);
#endif
}

static uint32_t load32(const char* at) {
    return atomic_load_explicit((const _Atomic uint32_t*)(const void*)at, memory_order_acquire);
}

static uint64_t load64(const char* at) { /* whole, in 32-bit programs too */
    return atomic_load_explicit((const _Atomic uint64_t*)(const void*)at, memory_order_acquire);
}

static uint64_t calendar_of(const char* block) { /* two words, the low one first */
    return (uint64_t)load32(block + 0x34) << 32 | load32(block + 0x30);
}

/* Whether the state block is the present sender's: see "in force" in the manual. */
static int in_force(const char* block, const char* state) {
    const int marked = block[0x24] != 0, ended = load32(state + 0x30) != 0;
    const uint32_t head = load32(block + 0x20038);
    return load64(state + 0x10) != 0 && (!marked || load64(state + 0x18) != 0) &&
           (!marked || !ended || head == (load64(state + 0x48) & MASK));
}

static void lose(uint64_t* lost, uint64_t samples, uint64_t at) {
    if (samples > 0)
        fprintf(stderr, "lost %llu samples at %llu\n", (unsigned long long)samples,
                (unsigned long long)at);
    *lost += samples;
}
int main(int argc, char** argv) {
    static float samples[RING];
    const int slot = argc > 1 ? atoi(argv[1]) - 1 : -1;
    const uint64_t limit = argc > 2 ? strtoull(argv[2], NULL, 10) : UINT64_MAX;
    const char *block = NULL, *state = NULL;
    if (slot >= 0 && slot < 32) {
        block = map_block(slot, "", BLOCK_BYTES);
        state = map_block(slot, " state", STATE_BYTES);
    }
    if (!block || !state || memcmp(state, "TRCS\1\0", 6) != 0 ||
        load32(state + 0x08) < STATE_BYTES || !in_force(block, state))
        return fprintf(stderr, "no sender that tells its position\n"), 1;
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    const uint64_t session = load64(state + 0x10);
    uint64_t position = load64(state + 0x48), received = 0, lost = 0, stamp = 0;
    position = position > RING / 2 ? position - RING / 2 : 0;
    fprintf(stderr, "from %llu on\n", (unsigned long long)position);
    for (int idle = 0, ended = 0; !ended && idle < IDLE_LOOKS && received + lost < limit; ++idle) {
        wait_a_little();
        ended = load32(state + 0x30) != 0; /* first: then nothing comes after what is published */
        const uint64_t published = load64(state + 0x48);
        const uint64_t from =
            published > RING && position < published - RING ? published - RING : position;
        for (uint64_t x = from; x < published; ++x)
            memcpy(&samples[x - from], block + 0x38 + 4 * (x & MASK), 4);

        atomic_thread_fence(memory_order_acquire);
        const uint32_t head = load32(block + 0x20038);
        const uint64_t now = calendar_of(block), claimed = load64(state + 0x40);
        if (load64(state + 0x10) != session) { /* another sender, which tells how this one ended */
            const uint64_t end = load64(state + 0x28);
            if (load64(state + 0x20) != session || end < position)
                fprintf(stderr, "lost an unknown number of samples at the end\n");
            else
                lose(&lost, end - position, position);
            break;
        }
        if (position > published || published > claimed || now < stamp ||
            ((head - published) & MASK) > claimed - published || !in_force(block, state))
            return fprintf(stderr, "another sender writes into this connection too\n"), 2;
        stamp = now;
        uint64_t first = claimed > RING && from < claimed - RING ? claimed - RING : from;
        first = first > published ? published : first;
        lose(&lost, first - position, position);
        const size_t count = (size_t)(published - first);
        if (fwrite(samples + (first - from), 4, count, stdout) != count)
            return 3;
        received += count;
        idle = published > position ? 0 : idle;
        position = published;
    }
    fprintf(stderr, "received %llu, lost %llu\n", (unsigned long long)received,
            (unsigned long long)lost);
    return fflush(stdout) == 0 ? 0 : 3;
}
