#pragma once

#include <atomic>
#include <cstdint>

namespace yk::detail {

// One per thread that has read, handed to a later thread when its own ends. Records are never
// freed, so writers walk the list without a lock.
struct alignas(64) ReaderRecord {
    // Odd while the owning thread is inside a section; only the owner writes it.
    std::atomic<uint64_t> sequence { 0 };
    // Whether writers supply the barrier (the same answer for every record); owner only.
    bool writersFence { false };
    std::atomic<bool> taken { true };
    ReaderRecord* next { nullptr };
};

// The calling thread's record, taken on its first section.
extern thread_local ReaderRecord* threadReaderRecord __attribute__((tls_model("initial-exec")));
ReaderRecord* takeReaderRecord();

// Lets threads read shared memory without taking a lock while a writer frees what they might
// be reading. A reader keeps a ReadSection open around its reads; a writer first unpublishes
// the memory (so no new reader can reach it), then calls waitForReaders(), then frees it.
//
// Opening and closing a section are plain stores to the calling thread's own record, so readers
// never share a cache line. The barrier that orders a reader's entry before its reads is paid
// by the writer: membarrier(2) makes every running thread of the process execute one. Where the
// kernel refuses it, and under ThreadSanitizer (which cannot see it), readers fence themselves.
//
// Sections do not nest, and a reader must not wait for anything inside one.
class ReadSection {
public:
    ReadSection()
        : _record(threadReaderRecord ? threadReaderRecord : takeReaderRecord())
        , _entered(_record->sequence.load(std::memory_order_relaxed) + 1)
    {
        _record->sequence.store(_entered, std::memory_order_relaxed);
        // The entry must be visible before the reads it protects.
        if (_record->writersFence)
            std::atomic_signal_fence(std::memory_order_seq_cst);
        else
            std::atomic_thread_fence(std::memory_order_seq_cst);
    }
    ~ReadSection() { _record->sequence.store(_entered + 1, std::memory_order_release); }

    ReadSection(const ReadSection&) = delete;
    ReadSection& operator=(const ReadSection&) = delete;

private:
    ReaderRecord* _record;
    uint64_t _entered;
};

// Returns once every section that was open when it was called has closed. Call it after
// unpublishing and before freeing; never from inside a section.
void waitForReaders();

} // namespace yk::detail
