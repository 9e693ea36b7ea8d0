"""What begins and ends: streams, waits, the service, the interpreter."""


def test_without_a_service_factories_raise(start_program):
    program = start_program("""
for name in dir(ms):
    if name.startswith("create_"):
        try:
            getattr(ms, name)()
        except ms.NoService as error:
            assert "moriak-sensor-simulator" in str(error), error
        else:
            print(name, "found a service")
print("none")
""")
    program.expect("none")
    assert program.finish()[0] == 0


def test_with_starts_and_stops(start_simulator, start_program):
    start_simulator()
    program = start_program("""
stream = ms.create_imu_sensor().stream()
def attempt(call):
    try:
        call()
    except (RuntimeError, ValueError) as error:
        print(error)
attempt(lambda: next(stream))
stream.queue_size = 1000
with stream:
    first = stream.read(count=10)
attempt(lambda: stream.read(seconds=0))
with stream as batches:
    for batch in batches:
        break
assert batch["sequence"][0] > first["sequence"][-1], "it did not run again"
attempt(lambda: setattr(stream, "queue_size", 10))
attempt(lambda: ms.Composite(stream, stream))
# Of what was added to a later composite, the earlier one gets nothing any more.
earlier = ms.Composite(stream)
with earlier:
    later = ms.Composite(stream)
    attempt(earlier.wait)
# Another thread ends an iteration.
import threading
with later:
    threading.Thread(target=later.wake).start()
    for _ in later:
        pass
print("done")
""")
    program.expect("ImuData: the stream is not started: use `with`")
    program.expect("ImuData: the stream is not started: use `with`")
    program.expect("the queue exists already: set its size before")
    program.expect("a composite is of 1 to 15 different streams")
    program.expect("ImuData: the stream was added to another composite since")
    program.expect("done")
    code, errors = program.finish()
    assert code == 0, errors


def test_ctrl_c_ends_a_wait_and_a_call(start_simulator, start_program):
    start_simulator("--fault", "stop headset-imu", "--fault", "hang IMag.getProperties")
    program = start_program("""
mag = ms.create_mag_sensor()
try:
    with ms.create_imu_sensor().stream() as stream:
        print("waiting")
        for batch in stream:
            print("a batch of a stream that is stopped")
except KeyboardInterrupt:
    print("interrupted")
try:
    print("calling")
    mag.props()
except KeyboardInterrupt:
    print("interrupted")
""")
    for step in ["waiting", "calling"]:
        program.expect(step)
        program.interrupt()
        program.expect("interrupted")
    code, errors = program.finish()
    assert code == 0, errors


def test_the_service_s_death_raises(start_simulator, start_program):
    simulator = start_simulator("--fault", "hang IMag.getProperties")
    program = start_program("""
imu, mag = ms.create_imu_sensor(), ms.create_mag_sensor()
def attempt(call):
    try:
        call()
    except ms.ServiceDied as error:
        print("died")
    except ms.NoService as error:
        print("none")
def iterate():
    is_first = True
    with imu.stream() as stream:
        for batch in stream:
            if is_first:
                print("receiving")
            is_first = False
attempt(iterate)
attempt(imu.props)
attempt(lambda: ms.Composite(imu.stream()))
attempt(ms.create_imu_sensor)
del imu, mag
print("waiting")
input()
# The next life of the service, and its end in the middle of a call.
with ms.create_imu_sensor().stream() as stream:
    assert len(stream.read(count=100)) >= 100
mag = ms.create_mag_sensor()
print("calling")
attempt(mag.props)
""")
    program.expect("receiving")
    simulator.kill()
    for answer in ["died", "died", "died", "none"]:
        program.expect(answer)
    program.expect("waiting")
    simulator = start_simulator("--fault", "hang IMag.getProperties")
    program.go_on()
    program.expect("calling")
    simulator.kill()
    program.expect("died")
    code, errors = program.finish()
    assert code == 0, errors


def test_the_interpreter_ends_with_everything_open(start_simulator, start_program):
    """Callbacks of the library come all the while, and one is in progress."""
    start_simulator("--rpc-notifications", "1000")
    program = start_program("""
import time
messages = ms.create_tamb_stream()
received = []
def receive(message):
    received.append(message)
    time.sleep(0.02)
messages.register_kivra_rpc_client("CMS", receive)
provider = ms.create_controller_provider()
client = provider.get_streaming_client()
camera = ms.create_camera_provider().get_stream(ms.FrameType.HEADSET, "test")
composite = ms.Composite(camera.stream(), ms.create_imu_sensor().stream(), provider.stream_imu())
composite.__enter__()
next(composite)
while not received:
    composite.wait()
""")
    assert program.finish() == (0, "")
