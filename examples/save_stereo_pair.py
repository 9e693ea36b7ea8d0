"""Saves what the headset's two cameras see, as left.pgm and right.pgm."""
import moriak_sensors
from moriak_sensors import FrameType

cameras = moriak_sensors.create_camera_provider().get_stream(FrameType.HEADSET, "stereo pair")
with cameras.stream() as frame_sets:
    # A frame that the service did not receive in time has no image.
    pair = next(one for one in frame_sets if all(image is not None for image in one.images))
for side, image in zip(["left", "right"], pair.images):
    with open(f"{side}.pgm", "wb") as file:
        file.write(b"P5 %d %d 255\n" % image.shape[::-1] + image.tobytes())
print("taken at", pair.metadata["timestamp"], "ns")
