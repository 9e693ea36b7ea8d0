// Frame sets come from another process, so everything must be checked against the buffers.
#include "frame_stream.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace Vek::Sensors;

namespace {

struct Image {
    py::ssize_t height = 0;
    py::ssize_t width = 0;
    PixelFormat format{};
    std::vector<std::byte> pixels;
};

struct ReceivedSet {
    Records::Bytes record;
    /// Empty where a frame has no image.
    std::vector<std::optional<Image>> images;
};

/// What Python gets.
struct FrameSetView {
    py::object metadata;
    py::list images;
};

size_t pixelSize(PixelFormat format) {
    switch (format) {
        case PixelFormat::GREY_8:
            return 1;
        case PixelFormat::GREY_10:
            return 2;
        case PixelFormat::RGBA_8888:
            return 4;
        case PixelFormat::DEPTH_16:
            return 2;
    }
    return 0;
}

std::optional<Image> copyImage(const CameraFrame& frame, const CameraMetadata& camera) {
    if (frame.frameType == FrameType::NOT_RECEIVED || frame.frameType == FrameType::INVALID ||
        frame.cameraId != camera.cameraId || frame.bufferIndex >= camera.buffers.size()) {
        return std::nullopt;
    }
    const auto buffer = camera.buffers[frame.bufferIndex]->pixels();
    const uint64_t rowSize = uint64_t{frame.width} * pixelSize(frame.pixelFormat);
    if (rowSize == 0 || frame.height == 0 || frame.stride < rowSize ||
        uint64_t{frame.height - 1} * frame.stride + rowSize > buffer.size()) {
        return std::nullopt;
    }
    Image image{frame.height, frame.width, frame.pixelFormat, {}};
    image.pixels.reserve(rowSize * frame.height);
    for (size_t row = 0; row < frame.height; ++row) {
        const std::byte* const begin = buffer.data() + row * frame.stride;
        image.pixels.insert(image.pixels.end(), begin, begin + rowSize);
    }
    return image;
}

py::object arrayOf(Image image) {
    std::vector<py::ssize_t> shape{image.height, image.width};
    if (image.format == PixelFormat::RGBA_8888) {
        shape.push_back(4);
    }
    const bool isWide = pixelSize(image.format) == 2;
    return Records::arrayOf(isWide ? py::dtype::of<uint16_t>() : py::dtype::of<uint8_t>(),
                            std::move(shape), std::move(image.pixels));
}

}  // namespace

struct FrameStream::Received {
    CameraStreamMetadata metadata;
    std::deque<ReceivedSet> sets;

    void add(const FrameSet& frameSet) {
        ReceivedSet& set = sets.emplace_back();
        Records::append(set.record, frameSet);
        const size_t count =
            std::min<size_t>({frameSet.numFrames, kMaxFrameSetSize, metadata.cameras.size()});
        for (size_t i = 0; i < count; ++i) {
            set.images.push_back(copyImage(frameSet.frames[i], metadata.cameras[i]));
        }
    }
};

FrameStream::FrameStream(Service::Life life, std::shared_ptr<ICameraStream> camera)
    : Stream(life, ApiTables::Record<FrameSet>::kName,
             {[camera] { camera->start(); }, [camera] { camera->stop(); }}),
      camera_(std::move(camera)),
      received_(std::make_shared<Received>()) {
    camera_->stream().setCallbackv([received = received_](IDataStream<FrameSet>::Batch spans) {
        for (const auto& span : spans) {
            for (const FrameSet& frameSet : span) {
                received->add(frameSet);
            }
        }
    });
}

py::object FrameStream::dtype() const {
    return Records::dtypeOf<FrameSet>();
}

size_t FrameStream::queueSize() const {
    return camera_->stream().getQueueSize();
}

void FrameStream::setQueueSize(size_t /*records*/) {
    throw py::value_error("the queue of a camera stream holds one frame set");
}

void FrameStream::addTo(ICompositeStream& composite) {
    received_->metadata = camera_->getMetadata();
    camera_->stream().addTo(composite);
}

py::object FrameStream::take() {
    if (received_->sets.empty()) {
        return {};
    }
    ReceivedSet set = std::move(received_->sets.front());
    received_->sets.pop_front();
    FrameSetView view;
    view.metadata =
        Records::arrayOf(Records::dtypeOf<FrameSet>(), {1}, std::move(set.record))[py::int_(0)];
    for (std::optional<Image>& image : set.images) {
        view.images.append(image ? arrayOf(std::move(*image)) : py::none());
    }
    return py::cast(std::move(view));
}

size_t FrameStream::countOf(const py::object& /*batch*/) const {
    return 1;
}

py::object FrameStream::join(const py::list& batches) const {
    return batches;
}

void defineFrameSet(py::module_& module) {
    py::class_<FrameSetView>(module, "FrameSet",
                             "What the cameras of a stream saw at one instant. The images are "
                             "copies: keep them as long as you like.")
        .def_readonly("metadata", &FrameSetView::metadata,
                      "The record of the headers, a NumPy value with named fields: "
                      "frame_set.metadata[\"frames\"][0][\"exposureTime\"].")
        .def_readonly("images", &FrameSetView::images,
                      "An array for each of the frames, in their order; None where no image was "
                      "received.\nGREY_8: uint8, HxW. GREY_10: uint16, HxW. DEPTH_16: uint16, HxW. "
                      "RGBA_8888: uint8, HxWx4.");
}
