#include "StreamTestSupport.h"

namespace yk::test {

YK_DEFINE_CLASS(ChunkedSource);
YK_DEFINE_CLASS(RecordingSink);

} // namespace yk::test
