// The process as a whole, under the name that generated code calls.
#pragma once

namespace android::hardware {

class ProcessState {
  public:
    static ProcessState* self();

    /** The pool of HIDL threads starts by itself and grows as calls need it. */
    void startThreadPool() {}
};

}  // namespace android::hardware
