"""Frame sets: the right images, and control over how they are taken."""
import numpy as np
import pytest

import moriak_sensors as ms

SHAPES = {
    ms.FrameType.HEADSET: (2, (480, 640), np.uint8),
    ms.FrameType.HAND: (1, (400, 640), np.uint16),
    ms.FrameType.EYE: (2, (400, 400), np.uint8),
    ms.FrameType.DEPTH: (1, (240, 320), np.uint16),
    ms.FrameType.COLOR: (1, (480, 640, 4), np.uint8),
}


@pytest.fixture(scope="module")
def provider(service):
    return ms.create_camera_provider()


@pytest.mark.parametrize("frame_type", SHAPES, ids=lambda frame_type: frame_type.name)
def test_images_are_those_of_the_frame_type(provider, frame_type):
    count, shape, dtype = SHAPES[frame_type]
    with provider.get_stream(frame_type, "test").stream() as stream:
        first, second = stream.read(count=2)
    assert second.metadata["sequence"] > first.metadata["sequence"]
    assert second.metadata["timestamp"] > first.metadata["timestamp"]
    assert first.metadata["numFrames"] == len(first.images) == count
    for frame, image in zip(first.metadata["frames"], first.images):
        assert (image.shape, image.dtype) == (shape, dtype)
        assert (frame["height"], frame["width"]) == shape[:2]
        assert frame["frameType"] == frame_type
        assert np.ptp(image) > 0
        if frame["pixelFormat"] == ms.PixelFormat.GREY_10:
            assert 255 < image.max() < 1024
    if count == 2:
        assert (first.images[0] != first.images[1]).mean() > 0.1, "left and right are one image"
    # The rows are where the picture has them: with those of the buffers, which are longer, each
    # would go on from the one above, moved aside.
    gap = frame["stride"] - image.shape[1] * image.itemsize * (image.ndim == 3 and 4 or 1)
    if gap > 0:
        image = image.astype(float)
        aside = np.roll(image, -gap // image.itemsize, axis=1)
        straight = np.abs(image[1:] - image[:-1]).mean()
        assert straight < 0.9 * np.abs(image[1:] - aside[:-1]).mean()


def test_images_are_the_user_s_to_keep(provider):
    """More of them than the service has buffers."""
    camera = provider.get_stream(ms.FrameType.HEADSET, "test")
    buffers = camera.get_configuration().cameras[0].numBuffers
    with camera.stream() as stream:
        kept = stream.read(count=buffers + 3)
    assert len({image.tobytes() for image in (frame_set.images[0] for frame_set in kept)}) == len(kept)
    kept[0].images[0][:] = 0


def test_exposure_is_the_one_that_was_set(provider):
    camera = provider.get_stream(ms.FrameType.HEADSET, "test")
    with pytest.raises(RuntimeError, match="Composite"):
        camera.start_overriding_exposure_settings()
    wanted = [ms.ExposureGain(exposureTime=2_000_000, analogGain=2, digitalGain=1),
              ms.ExposureGain(exposureTime=3_000_000, analogGain=1, digitalGain=1)]
    stream = camera.stream()
    composite = ms.Composite(stream)
    states = []
    now = camera.register_frame_set_configuration_update_callback(states.append)
    assert {one.cameraId for one in now.globalConfigurations} >= {0, 1}
    camera.start_overriding_exposure_settings()
    camera.set_exposure_gain(wanted)
    with composite:
        for _, frame_set in composite:
            frames = frame_set.metadata["frames"]
            if list(frames["exposureTime"][:2]) == [2_000_000, 3_000_000]:
                assert list(frames["analogGain"][:2]) == [2, 1]
                break
        camera.set_resolution([ms.Resolution.HALF, ms.Resolution.QUARTER])
        for _, frame_set in composite:
            if [image.shape for image in frame_set.images] == [(240, 320), (120, 160)]:
                break
        # The callback comes on a thread of the library.
        other = next(mode for mode in ["tracking", "mixed-reality"] if mode != now.muxMode.name)
        assert provider.apply_mux_mode(other, 1)
        while not states:
            composite.wait()
    assert states[0].muxMode.name == other and states[0].header > now.header
    camera.stop_overriding_exposure_settings()
    camera.set_resolution([ms.Resolution.FULL] * 2)
    assert provider.apply_mux_mode(now.muxMode.name, 1)


def test_properties(provider):
    cameras = {camera.propertyText1: camera for camera in provider.get_properties()}
    assert cameras["headset left"].calibrationData1.startswith("{")
    with pytest.raises(TypeError):
        provider.set_utility_frequency("50")
    for frequency in [ms.UtilityFrequency.FREQUENCY_50_HZ, ms.UtilityFrequency.FREQUENCY_60_HZ]:
        provider.set_utility_frequency(frequency)
        assert provider.get_utility_frequency() is frequency
