/* A receiver in one file of C: follows one sender from where it is to its end.
 *
 *   connection-reader NUMBER [SAMPLES] > samples.raw
 *
 * or until so many samples were received or lost. The samples go to standard output as 32-bit floats; every loss is told on standard error, and at
 * the end the sum. docs/connection.md explains the two blocks. Exit status: 0 the sender ended, 1
 * there is none, 2 the blocks don't agree, 3 the samples could not be written. Compile with
 *   cc -std=c11 -O2 connection-reader.c */
#if !defined(_WIN32)
#define _GNU_SOURCE
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#else
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#endif
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { RING = 32768, MASK = RING - 1, BLOCK_BYTES = 131784, STATE_BYTES = 4096 };

/* A block, mapped for reading, or a null pointer. */
static const char *map_block(int slot, const char *suffix, size_t bytes) {
    char name[64];
#if defined(_WIN32)
    MEMORY_BASIC_INFORMATION memory;
    snprintf(name, sizeof name, "Connection #%d%s", slot, suffix);
    HANDLE mapping = OpenFileMappingA(FILE_MAP_READ, FALSE, name);
    const char *view = mapping ? MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, bytes) : NULL;
    if (!view || !VirtualQuery(view, &memory, sizeof memory) || memory.State != MEM_COMMIT ||
        memory.RegionSize < bytes)
        return NULL;
    return view;
#else
    struct stat status;
    snprintf(name, sizeof name, "/tarn-%u-Connection #%d%s", getuid(), slot, suffix);
    int file = shm_open(name, O_RDONLY | O_CLOEXEC, 0);
    if (file < 0 || fstat(file, &status) != 0 || status.st_uid != getuid() ||
        (size_t)status.st_size < bytes || flock(file, LOCK_SH | LOCK_NB) != 0)
        return NULL;
    void *view = mmap(NULL, bytes, PROT_READ, MAP_SHARED, file, 0);
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

static uint32_t load32(const char *at) {
    return atomic_load_explicit((const _Atomic uint32_t *)(const void *)at, memory_order_acquire);
}

static uint64_t load64(const char *at) { /* whole, in 32-bit programs too */
    return atomic_load_explicit((const _Atomic uint64_t *)(const void *)at, memory_order_acquire);
}

int main(int argc, char **argv) {
    static float samples[RING];
    const int slot = argc > 1 ? atoi(argv[1]) - 1 : -1;
    const uint64_t limit = argc > 2 ? strtoull(argv[2], NULL, 10) : UINT64_MAX;
    const char *block = NULL, *state = NULL;
    if (slot >= 0 && slot < 32) {
        block = map_block(slot, "", BLOCK_BYTES);
        state = map_block(slot, " state", STATE_BYTES);
    }
    if (!block || !state || memcmp(state, "TRCS\1\0", 6) != 0 || load32(state + 0x08) < STATE_BYTES)
        return fprintf(stderr, "no sender that tells its position\n"), 1;
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
#endif

    const uint64_t session = load64(state + 0x10);
    uint64_t position = load64(state + 0x48);
    position = position > RING / 2 ? position - RING / 2 : 0;
    uint64_t received = 0, lost = 0;
    int ended = session == 0;
    fprintf(stderr, "from %llu on\n", (unsigned long long)position);
    while (!ended && received + lost < limit) {
        wait_a_little();
        ended = load32(state + 0x30) != 0; /* first: then nothing comes after what is published */
        if (load64(state + 0x10) != session)
            break; /* another sender; formerSession and formerPublished tell how this one ended */
        const uint64_t published = load64(state + 0x48);
        const uint64_t from =
            published > RING && position < published - RING ? published - RING : position;
        for (uint64_t x = from; x < published; ++x)
            memcpy(&samples[x - from], block + 0x38 + 4 * (x & MASK), 4);

        atomic_thread_fence(memory_order_acquire);
        const uint32_t head = load32(block + 0x20038);
        const uint64_t claimed = load64(state + 0x40);
        if (load64(state + 0x10) != session)
            break;
        if (position > published || published > claimed ||
            ((head - published) & MASK) > claimed - published)
            return fprintf(stderr, "another sender writes into this connection too\n"), 2;
        uint64_t first = claimed > RING && from < claimed - RING ? claimed - RING : from;
        if (first > published)
            first = published;

        if (first > position)
            fprintf(stderr, "lost %llu samples at %llu\n", (unsigned long long)(first - position),
                    (unsigned long long)position);
        const size_t count = (size_t)(published - first);
        if (fwrite(samples + (first - from), 4, count, stdout) != count)
            return 3;
        lost += first - position;
        received += count;
        position = published;
    }
    if (fflush(stdout) != 0)
        return 3;
    fprintf(stderr, "received %llu, lost %llu\n", (unsigned long long)received,
            (unsigned long long)lost);
    return 0;
}
