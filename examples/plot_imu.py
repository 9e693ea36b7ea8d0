"""Five seconds of the IMU: as a picture, or as a table where there is no matplotlib."""
import moriak_sensors
import numpy

with moriak_sensors.create_imu_sensor().stream() as stream:
    samples = stream.read(seconds=5)
seconds = (samples["timestamp"] - samples["timestamp"][0]) * 1e-9
try:
    from matplotlib import pyplot
    pyplot.plot(seconds, samples["acceleration"], label=["x", "y", "z"])
    pyplot.xlabel("s")
    pyplot.ylabel("m/s^2")
    pyplot.legend()
    pyplot.savefig("imu.png")
except ImportError:
    numpy.savetxt("imu.csv", numpy.column_stack((seconds, samples["acceleration"])),
                  delimiter=",", header="s,x_m_s2,y_m_s2,z_m_s2", comments="")
print(len(samples), "samples")
