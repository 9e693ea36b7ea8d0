"""The simulated service, and programs that use the module, in processes of their own."""
import os
import signal
import subprocess
import sys

import pytest

# Nothing here takes that long: it only ends a test that hangs.
LIMIT = 60


class Simulator:
    """Up and running from its construction on."""

    def __init__(self, directory, *options):
        self.directory = str(directory)
        ready, write = os.pipe()
        self.process = subprocess.Popen(
            [os.environ["MORIAK_SIMULATOR"], "--quiet", f"--ready-fd={write}", *options],
            pass_fds=[write], env={**os.environ, "MORIAK_HIDL_RUNTIME_DIR": self.directory})
        os.close(write)
        with os.fdopen(ready) as pipe:
            assert pipe.read(5) == "ready"

    def kill(self):
        self.process.kill()
        self.process.wait()


class Program:
    """A Python program whose prints and inputs are the steps that a test waits for."""

    def __init__(self, directory, code):
        self.process = subprocess.Popen(
            [sys.executable, "-c", "import moriak_sensors as ms\n" + code], text=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            env={**os.environ, "MORIAK_HIDL_RUNTIME_DIR": str(directory),
                 "PYTHONUNBUFFERED": "1"})

    def expect(self, line):
        said = self.process.stdout.readline().rstrip("\n")
        if said != line:
            self.process.kill()
            raise AssertionError(f"said {said!r}, then {self.process.communicate()}")

    def go_on(self):
        self.process.stdin.write("\n")
        self.process.stdin.flush()

    def interrupt(self):
        self.process.send_signal(signal.SIGINT)

    def finish(self):
        _, errors = self.process.communicate(timeout=LIMIT)
        return self.process.returncode, errors


@pytest.fixture
def runtime_directory(tmp_path):
    tmp_path.chmod(0o700)
    return tmp_path


@pytest.fixture
def start_simulator(runtime_directory):
    started = []

    def start(*options):
        started.append(Simulator(runtime_directory, *options))
        return started[-1]

    yield start
    for simulator in started:
        simulator.kill()


@pytest.fixture
def start_program(runtime_directory):
    started = []

    def start(code):
        started.append(Program(runtime_directory, code))
        return started[-1]

    yield start
    for program in started:
        program.process.kill()
        program.process.wait()


@pytest.fixture(scope="session")
def service(tmp_path_factory):
    """One for all tests that use the module in this process: a headset at rest, without errors."""
    directory = tmp_path_factory.mktemp("runtime")
    directory.chmod(0o700)
    os.environ["MORIAK_HIDL_RUNTIME_DIR"] = str(directory)
    trajectory = directory / "at-rest.txt"
    trajectory.write_text("".join(f"{t} 0 0 1.6 0 0 0 1\n" for t in range(4)))
    simulator = Simulator(directory, "--ideal", "--trajectory", trajectory,
                          "--firmware-seconds", "0.5")
    yield simulator
    simulator.kill()
