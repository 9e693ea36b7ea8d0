"""The examples do what they say."""
import os
import pathlib
import re
import subprocess
import sys

import numpy as np

SCRIPTS = pathlib.Path(__file__).parents[2] / "examples"


def command_of(name):
    if name.endswith(".py"):
        return [sys.executable, SCRIPTS / name]
    return [pathlib.Path(os.environ["MORIAK_EXAMPLES"]) / name]


def start(directory, name, *arguments):
    return subprocess.Popen(
        [*command_of(name), *arguments], cwd=directory, text=True, stdout=subprocess.PIPE,
        stderr=subprocess.PIPE, env={**os.environ, "MORIAK_HIDL_RUNTIME_DIR": str(directory)})


def finish(process):
    output, errors = process.communicate(timeout=120)
    assert process.returncode == 0, errors
    return output


def test_examples_end_with_their_results(start_simulator, runtime_directory):
    start_simulator()
    running = {name: start(runtime_directory, name, *arguments) for name, *arguments in [
        ("imu_client",), ("ambient_light_client",), ("camera_client",), ("controller_client", "3"),
        ("plot_imu.py",), ("save_stereo_pair.py",)]}
    output = {name: finish(process) for name, process in running.items()}
    assert "m/s^2 up" in output["imu_client"]
    assert len(re.findall(" lx", output["ambient_light_client"])) >= 10
    brightness = [float(value) for value in re.findall(r"brightness (\S+)",
                                                       output["camera_client"])]
    assert len(brightness) == 3 and 0 < brightness[0] < brightness[1] < brightness[2]
    assert "left controller: battery" in output["controller_client"]
    assert "buzzes" in output["controller_client"]
    if (runtime_directory / "imu.csv").exists():
        table = np.loadtxt(runtime_directory / "imu.csv", delimiter=",", skiprows=1)
        assert table.shape[1] == 4 and table[-1, 0] > 1
    else:
        assert (runtime_directory / "imu.png").stat().st_size > 1000
    left, right = [(runtime_directory / f"{side}.pgm").read_bytes() for side in ["left", "right"]]
    assert left.startswith(b"P5 640 480 255\n") and len(left) == len(right) == 640 * 480 + 15
    assert left != right


def test_reconnecting_client_survives_its_service_twice(start_simulator, runtime_directory):
    client = start(runtime_directory, "reconnecting_client")
    try:
        for _ in range(3):
            assert client.stdout.readline() == "waiting for the service\n"
            simulator = start_simulator()
            assert client.stdout.readline().endswith(" samples\n")
            simulator.kill()
            while (line := client.stdout.readline()).endswith(" samples\n"):
                pass
            assert line == "the service is gone\n", client.communicate()
    finally:
        client.kill()
        client.communicate()
