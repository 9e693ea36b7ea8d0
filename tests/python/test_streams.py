"""Every stream: its records arrive, whole, in order and with the values that are the truth."""
import numpy as np
import pytest

import moriak_sensors as ms

GRAVITY = 9.80665

# Their status says where the service, on a busy machine, lost records before this one.
DISCONTINUITY = {
    "ImuData": ms.MotionSampleStatus.MOTION_SAMPLE_DISCONTINUITY,
    "MagData": ms.MotionSampleStatus.MOTION_SAMPLE_DISCONTINUITY,
    "ControllerImuData": ms.MotionSampleStatus.MOTION_SAMPLE_DISCONTINUITY,
    "FlickerData": ms.LightSampleStatus.LIGHT_SAMPLE_DISCONTINUITY,
    "AdcFlickerData": ms.LightSampleStatus.LIGHT_SAMPLE_DISCONTINUITY,
    "AmbientLightData": ms.LightSampleStatus.LIGHT_SAMPLE_DISCONTINUITY,
}


def norm(vectors):
    return np.linalg.norm(vectors, axis=-1)


def check_order(name, records):
    """Each controller numbers its own. What the library does not fill in of a header is zero."""
    header = records["header"] if "header" in records.dtype.names else records
    names = header.dtype.names
    controllers = header["controller"] if "controller" in names else np.zeros(len(records))
    for controller in np.unique(controllers):
        own = header[controllers == controller]
        if "sequence" in names and own["sequence"].any():
            steps = np.diff(own["sequence"])
            assert (steps > 0).all() and (steps < 1 << 31).all()
            if name in DISCONTINUITY:
                after_gap = own["status"][1:][steps > 1]
                assert (after_gap & DISCONTINUITY[name]).all(), "records were lost on the way"
        if "timestamp" in names and own["timestamp"].any():
            assert (np.diff(own["timestamp"]) > 0).all()
            if "arrivalTimestamp" in names:
                assert (own["arrivalTimestamp"] >= own["timestamp"]).all()


def read(stream, count):
    with stream:
        records = stream.read(count=count)
    assert isinstance(records, np.ndarray) and records.dtype == stream.dtype
    assert len(records) >= count
    check_order(stream.record, records)
    return records


def test_motion(service):
    info = ms.create_motion_sensor_provider().get_sensor_info().sensors
    imu = read(ms.create_imu_sensor().stream(), 500)
    assert imu.dtype.names == (
        "timestamp", "arrivalTimestamp", "acceleration", "angularRate", "temperature", "sequence",
        "sensor", "status", "accelerationRange", "angularRateRange")
    assert imu["acceleration"] == pytest.approx(np.tile([0, 0, GRAVITY], (len(imu), 1)), abs=0.02)
    assert imu["angularRate"] == pytest.approx(0, abs=0.01)
    assert np.median(np.diff(imu["timestamp"])) == pytest.approx(1e6, rel=0.01)
    assert set(imu["sensor"]) <= {one.sensor for one in info if one.kind == ms.MotionSensorKind.IMU}

    mag = read(ms.create_mag_sensor().stream(), 5)
    assert np.ptp(mag["field"], axis=0) == pytest.approx(0, abs=0.5)
    assert ((norm(mag["field"]) > 20) & (norm(mag["field"]) < 70)).all()
    assert ((mag["temperature"] > 10) & (mag["temperature"] < 60)).all()
    assert (mag["range"] > 100).all()

    iad = read(ms.create_iad_sensor().stream(), 2)
    assert ((iad["distance"] > 50) & (iad["distance"] < 75)).all()


def test_light_and_time(service):
    light = ms.create_flicker_sensor()
    flicker = read(light.flicker_stream(), 2)
    assert flicker["frequency"] == pytest.approx(100, abs=1)
    strongest = flicker["peaks"]["frequency"][np.arange(len(flicker)), 0]
    assert strongest == pytest.approx(flicker["frequency"], abs=1)
    blocks = read(light.adc_flicker_stream(), 2)
    for block in blocks:
        samples = block["samples"]
        assert 0 < block["sampleCount"] <= len(samples) == 4096
        mean = samples[:block["sampleCount"]].mean()
        assert mean == pytest.approx(flicker["meanLevel"][0], rel=0.1)
    ambient = read(light.ambient_light_stream(), 2)
    assert ambient["illuminance"] == pytest.approx(300, rel=0.3)
    assert ambient["channels"].shape == (len(ambient), 10)

    pulses = read(ms.create_external_timing_provider().stream_external_timestamp_data(), 1)
    translated = ms.create_tamb_stream().get_time_translation(
        int(pulses["timestamp"][0]), ms.TimeDomain.MONOTONIC, ms.TimeDomain.EXTERNAL)
    assert translated == pytest.approx(pulses["externalTimestamp"][0], abs=2e6)


def test_controllers(service):
    """All streams of the controllers on one composite, as a user would have them."""
    provider = ms.create_controller_provider()
    client = provider.get_streaming_client()
    owner = ms.create_controller_state_provider()
    infos = {info.address: info for info in provider.get_paired_controllers()}
    streams = [getattr(provider, name)() for name in dir(provider) if name.startswith("stream_")]
    streams += [owner.stream_haptics_state(), owner.stream_controller_input_data(),
                owner.stream_wireless_state_transition()]
    batches = {stream.record: [] for stream in streams}
    with ms.Composite(*streams) as composite:
        for address in infos:
            client.enable(address)
            client.control_input_adc_streaming(address, True)
            client.set_simple_haptics(address, 255)
        management = provider.get_management_client()
        for advertising in management.get_advertising_controllers():
            if advertising.type == ms.ControllerType.STYLUS:
                assert management.pair_controller(advertising.address) == ms.ControllerResult.SUCCESS
                client.enable(advertising.address)
        for stream, batch in composite:
            batches[stream.record].append(batch)
            if all(batches.values()) and len(batches["ControllerImuData"]) > 50:
                break
        for address in infos:
            client.set_simple_haptics(address, 0)
    records = {name: np.concatenate(parts) for name, parts in batches.items()}
    for name, one in records.items():
        check_order(name, one)

    buttons = records["ButtonData"]
    assert set(buttons["header"]["controller"]) >= set(infos)
    assert buttons.dtype["header"].names == ("controller", "timestamp", "arrivalTimestamp",
                                             "sequence")
    assert (buttons["pressed"] < 1 << 7).all()
    assert (np.abs(buttons["thumbstick"]) <= 1).all()
    state = records["PairedControllerInfo"][0]
    info = next(one for one in provider.get_paired_controllers() if one.address == state["address"])
    assert state["name"].decode() == info.name and state["model"].decode() == info.model
    assert state["factoryCalibration"].tobytes() == info.factoryCalibration
    assert state["hand"] == info.hand and state["type"] == info.type
    curl = records["CurlData"]
    assert ((curl["curl"] >= 0) & (curl["curl"] <= 1)).all() and curl["curl"].any()
    assert (curl["sampleTime"] * 1e9 < buttons["header"]["arrivalTimestamp"].max() + 1e9).all()
    pose = records["PoseInput"]
    assert norm(pose["orientation"]) == pytest.approx(1, abs=1e-3)
    assert norm(pose["gravity"]) == pytest.approx(GRAVITY, rel=0.01)
    assert norm(records["ControllerCollisionEvent"]["direction"]) == pytest.approx(1, abs=1e-3)
    touch = records["MultiTouchData"]["points"]
    assert touch.shape[1] == 4 and set(touch["touching"].flat) <= {0, 1}
    assert (touch["finger"] < 4).all()
    assert (records["WirelessDeviceStats"]["frequency"] >= 2404).all()
    assert (records["ControllerInputADCData"]["thumbstickX"] > 0).any()
    assert (records["StylusData"]["pressure"] <= 1).all()
    assert (records["HapticsState"]["amplitude"] <= 1).all()
    transitions = records["WirelessStateTransition"]
    assert (transitions["previous"] != transitions["current"]).all()
    inputs = records["ControllerInputData"]
    members = inputs.dtype.names[1:]
    for kind, member in enumerate(members):
        of_kind = inputs[inputs["kind"] == kind]
        if len(of_kind) > 0:
            assert of_kind[member]["header"]["controller"].all()
            others = [of_kind[other]["header"]["controller"] for other in members if other != member]
            assert not np.any(others)
