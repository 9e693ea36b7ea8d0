// Process-wide state, under the name that generated code uses.
#pragma once

namespace android::hardware {

class ProcessState {
  public:
    static ProcessState* self();

    /** Does nothing: the pool of HIDL threads starts by itself and grows on demand. */
    void startThreadPool() {}
};

}  // namespace android::hardware
