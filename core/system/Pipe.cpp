#include <Yarkit/core/system/Pipe.h>

#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/Exception.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace yk {

YK_DEFINE_CLASS(Pipe);

Pipe::Pipe()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        raise(NSFileHandleOperationException, "*** -[Pipe init]: %s", std::strerror(errno));
    _reading = make<FileHandle>(ends[0], true);
    _writing = make<FileHandle>(ends[1], true);
}

} // namespace yk
