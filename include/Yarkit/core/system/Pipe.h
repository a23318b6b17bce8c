#pragma once

#include <Yarkit/core/runtime/Object.h>
#include <Yarkit/core/system/FileHandle.h>

namespace yk {

// A one-way channel between processes: pipe2 with O_CLOEXEC, so only a launched task's standard
// stream inherits an end. Given to a Task as its standard output, the task closes the pipe's
// writing end in this process after launching, so that reading sees the end of the data when
// the child exits.
class Pipe final : public Object {
    YK_OBJECT(Pipe, Object)
public:
    // Raises NSFileHandleOperationException when the system has no descriptors left.
    Pipe();
    [[nodiscard]] static Ref<Pipe> pipe() { return make<Pipe>(); }

    FileHandle* fileHandleForReading() const { return _reading.get(); }
    FileHandle* fileHandleForWriting() const { return _writing.get(); }

private:
    Ref<FileHandle> _reading;
    Ref<FileHandle> _writing;
};

} // namespace yk
