"""Commands: what is set is what is there, and what the library could not take is refused here."""
import threading

import numpy as np
import pytest

import moriak_sensors as ms


@pytest.fixture(scope="module")
def controllers(service):
    return ms.create_controller_provider()


def address_of(provider, hand):
    return next(info.address for info in provider.get_paired_controllers() if info.hand == hand)


def test_settings_are_kept(controllers):
    client = controllers.get_streaming_client()
    left = address_of(controllers, ms.ControllerHand.LEFT)
    config = ms.ControllerLedConfig(hand=ms.ControllerHand.LEFT, pattern=ms.LedPattern.BLINK,
                                    red=10, blue=30, brightness=200, period=500)
    assert client.set_led_config(config)
    assert repr(client.get_led_config(left)) == repr(config)
    assert client.set_thumbstick_deadzone(left, 0.25)
    assert client.get_thumbstick_deadzone(left) == 0.25
    assert client.get_thumbstick_deadzone(12345) is None
    assert controllers.set_wireless_freq_blocklist(ms.ControllerWirelessFreqBlocklist(channels=6))
    assert controllers.get_wireless_freq_blocklist().channels == 6
    assert controllers.clear_wireless_freq_blocklist()
    with pytest.raises(TypeError, match="colour"):
        ms.ControllerLedConfig(colour=3)
    with pytest.raises(TypeError):
        client.set_simple_haptics(left, 256)


def test_haptics_play(controllers):
    client = controllers.get_streaming_client()
    left = address_of(controllers, ms.ControllerHand.LEFT)
    owner = ms.create_controller_state_provider()
    with owner.stream_haptics_state() as states:
        for start in [
                lambda: client.set_simple_haptics(left, 255),
                lambda: client.set_simple_haptics(
                    left, [ms.SimpleHapticIntensity(intensity=200, duration=250)] * 6),
                lambda: client.set_buffered_haptics(left, 100, True, np.full(50, 99, np.uint8)),
                lambda: client.append_pcm_haptics(left, np.full(72, 127, np.int8))]:
            assert start()
            for batch in states:
                of_left = batch[batch["controller"] == left]
                if (of_left["amplitude"] > 0).any():
                    break
            assert client.set_simple_haptics(left, 0)
    for samples in [np.zeros(71, np.int8), np.zeros((2, 36), np.int8)]:
        with pytest.raises(ValueError):
            client.append_pcm_haptics(left, samples)
    with pytest.raises(TypeError):
        client.append_pcm_haptics(left, np.zeros(72, np.int32))


@pytest.mark.filterwarnings("ignore::pytest.PytestUnraisableExceptionWarning")
def test_firmware_reports_its_progress(controllers):
    management = controllers.get_management_client()
    right = address_of(controllers, ms.ControllerHand.RIGHT)
    progress, done = [], threading.Event()

    def report(part):
        progress.append(part)
        if part == 1:
            done.set()
        raise ValueError("nobody catches it, and it harms nobody")

    with controllers.stream_state_changes() as changes:
        assert management.update_firmware(right, ms.ControllerType.HANDHELD, report, 0, 0.1) == 0
        for batch in changes:
            if (batch["firmwareVersion"][batch["address"] == right] > b"1.0").any():
                break
    assert done.wait(60)
    assert len(progress) > 3 and progress == sorted(progress)


def test_messages_are_answered(controllers):
    stream = ms.create_tamb_stream()
    left = address_of(controllers, ms.ControllerHand.LEFT)
    with pytest.raises(ValueError):
        stream.register_kivra_rpc_client("someone", print)
    with pytest.raises(ValueError):
        stream.send_kivra_rpc_msg(left, 1, bytes(8193))
    answered = threading.Event()
    answers = []

    def receive(message):
        if message.kind == ms.KivraRpcMessageKind.RESPONSE:
            answers.append(message)
            answered.set()

    stream.register_kivra_rpc_client("tracking", receive)
    assert stream.send_kivra_rpc_msg(left, 7, b"hello\x00\xff")
    assert answered.wait(60)
    stream.unregister_kivra_rpc_client("tracking")
    assert (answers[0].address, answers[0].header.procedure) == (left, 7)
    assert answers[0].payload == b"hello\x00\xff"


def test_poses_come_back(controllers):
    owner = ms.create_controller_state_provider()
    left = address_of(controllers, ms.ControllerHand.LEFT)
    owner.prepare_pose_output_stream()
    owner.start_pose_output_stream()
    sent = ms.PoseOutput(controller=left, timestamp=-5, position=[1.5, -2.5, 0.25],
                         orientation=[0, 0, 0, 1], status=3, sequence=1, confidence=1)
    with controllers.stream_pose() as poses:
        client = controllers.get_streaming_client()
        client.enable(left)
        assert owner.send_pose(sent)
        for batch in poses:
            own = batch[batch["timestamp"] == -5]
            if len(own) > 0:
                break
        assert (own[0]["controller"], own[0]["status"]) == (left, 3)
        assert list(own[0]["position"]) == sent.position
        assert list(own[0]["orientation"]) == sent.orientation
    owner.stop_pose_output_stream()


def test_leds(service):
    leds = ms.create_face_eye_tracking_led()
    assert leds.start_overriding_led_settings()
    assert leds.get_num_channels(ms.FaceEyeTrackingLedGroup.FACE) > 0
    config = ms.FaceEyeTrackingLedConfiguration(group=ms.FaceEyeTrackingLedGroup.FACE, channel=0,
                                                current=1000, pulseWidth=100)
    assert leds.set_configs([config])
    config.current = 1_000_000
    assert not leds.set_configs([config]), "more than the LEDs bear"
    assert leds.enable() and leds.disable()
    assert leds.stop_overriding_led_settings()
