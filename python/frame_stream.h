// Frame sets with their images, copied: the buffers go back to the service at once.
#pragma once

#include <vek/sensors/camera.h>

#include <memory>

#include "streams.h"

class FrameStream : public Stream {
  public:
    FrameStream(Service::Life life, std::shared_ptr<Vek::Sensors::ICameraStream> camera);

    py::object dtype() const override;
    size_t queueSize() const override;
    void setQueueSize(size_t records) override;
    /// Also gets the buffers.
    void addTo(Vek::Sensors::ICompositeStream& composite) override;
    py::object take() override;
    size_t countOf(const py::object& batch) const override;
    py::object join(const py::list& batches) const override;

  private:
    struct Received;

    const std::shared_ptr<Vek::Sensors::ICameraStream> camera_;
    const std::shared_ptr<Received> received_;
};

/// Defines the class FrameSet.
void defineFrameSet(py::module_& module);
