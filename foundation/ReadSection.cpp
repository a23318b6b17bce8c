#include "foundation/ReadSection.h"

#include <memory>

#include <linux/membarrier.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace yk::detail {

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr bool underThreadSanitizer = true;
#elif defined(__has_feature)
constexpr bool underThreadSanitizer = __has_feature(thread_sanitizer);
#else
constexpr bool underThreadSanitizer = false;
#endif

std::atomic<ReaderRecord*> records { nullptr };

// Whether writers supply the readers' barrier with membarrier(2). Decided once, before the
// first section opens, so readers and writers always agree.
bool writersSupplyBarrier()
{
    static const bool registered = [] {
        if (underThreadSanitizer)
            return false;
        const long commands = syscall(__NR_membarrier, MEMBARRIER_CMD_QUERY, 0, 0);
        if (commands < 0 || !(commands & MEMBARRIER_CMD_PRIVATE_EXPEDITED))
            return false;
        return syscall(__NR_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;
    }();
    return registered;
}

// Hands the thread's record back when the thread ends.
struct RecordOwner {
    ReaderRecord* record { nullptr };
    ~RecordOwner();
};

thread_local RecordOwner threadRecordOwner;

RecordOwner::~RecordOwner()
{
    if (!record)
        return;
    threadReaderRecord = nullptr;
    record->taken.store(false, std::memory_order_release);
}

ReaderRecord* takeRecord()
{
    for (ReaderRecord* record = records.load(std::memory_order_acquire); record; record = record->next) {
        bool taken = false;
        if (!record->taken.load(std::memory_order_relaxed) && record->taken.compare_exchange_strong(taken, true, std::memory_order_acquire))
            return record;
    }
    ReaderRecord* record = std::make_unique<ReaderRecord>().release(); // lives for the process
    record->next = records.load(std::memory_order_relaxed);
    while (!records.compare_exchange_weak(record->next, record, std::memory_order_release, std::memory_order_relaxed)) {
    }
    return record;
}

} // namespace

// Initial-exec: a section is on the pool's hit path, and the library is loaded with the program.
thread_local ReaderRecord* threadReaderRecord __attribute__((tls_model("initial-exec"))) = nullptr;

ReaderRecord* takeReaderRecord()
{
    ReaderRecord* record = takeRecord();
    record->writersFence = writersSupplyBarrier();
    threadReaderRecord = record;
    threadRecordOwner.record = record;
    return record;
}

void waitForReaders()
{
    if (writersSupplyBarrier())
        syscall(__NR_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0);
    else
        std::atomic_thread_fence(std::memory_order_seq_cst);
    for (ReaderRecord* record = records.load(std::memory_order_acquire); record; record = record->next) {
        const uint64_t seen = record->sequence.load(std::memory_order_acquire);
        if (seen % 2 == 0)
            continue;
        while (record->sequence.load(std::memory_order_acquire) == seen)
            sched_yield();
    }
}

} // namespace yk::detail
