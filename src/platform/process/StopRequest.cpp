#include "platform/process/StopRequest.h"

#include "platform/errors/RuntimeError.h"

namespace marrowkit::detail {

void RaiseStopped() {
    Raise(RuntimeErrorNumber::UserInterrupt);
}

}  // namespace marrowkit::detail
