// Where this compiler's exceptions are those of the device libraries: their guards catch them as they come.

#include "src/deviceio/frame/device_frame.h"

namespace custom_bidi {

void RunInDeviceFrame(void (*call)(void*), void* context) {
  call(context);
}

}  // namespace custom_bidi
