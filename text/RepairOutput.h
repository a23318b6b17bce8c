#pragma once

// The repaired copy a repair function builds: clean runs of the input are copied whole when a
// repair point is reached, replacements are appended between them. The buffer comes from
// malloc and is handed to the caller, or freed when the caller does not take it. On request it
// also records each repair as an edit of the input.

#include <Yarkit/ByteSequenceRepair.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace yk::detail {

class RepairOutput {
public:
    // `edits`, when not null, receives one edit per repair (not retained past finish()).
    explicit RepairOutput(const uint8_t* input, size_t inputLength,
        std::vector<RepairEdit>* edits = nullptr);
    ~RepairOutput();
    RepairOutput(const RepairOutput&) = delete;
    RepairOutput& operator=(const RepairOutput&) = delete;

    // Ends the clean run at `at`, appends `replacement`, and starts the next clean run at
    // `resume` (the input bytes between are dropped).
    void replace(size_t at, size_t resume, std::string_view replacement);

    bool hasRepairs() const { return _hasRepairs; }

    // Copies the clean run up to `end`; copied() then holds the whole result so far.
    void copyRun(size_t end);
    std::span<const uint8_t> copied() const { return { _bytes, _length }; }
    // Drops the last `count` bytes of the whole result; call after copyRun(inputLength).
    void dropLast(size_t count);

    // Copies the final clean run and hands the copy over. Returns whether there was a repair;
    // when not, nothing was allocated and no output is written.
    [[nodiscard]] bool finish(unsigned char** outBytes, uint32_t* outLength);
    // The same into `bytes`, which is left empty when nothing was repaired.
    [[nodiscard]] bool finish(std::string& bytes);

private:
    void append(const uint8_t* bytes, size_t count);
    void dropFromEdits(size_t count);

    const uint8_t* _input;
    size_t _inputLength;
    size_t _runStart { 0 };
    uint8_t* _bytes { nullptr };
    size_t _length { 0 };
    size_t _capacity { 0 };
    bool _hasRepairs { false };
    std::vector<RepairEdit>* _edits;
};

} // namespace yk::detail
