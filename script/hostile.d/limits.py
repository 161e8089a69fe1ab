"""Limits of the system: memory, descriptors, the size of files, the stack, time."""
import resource
import signal

from trial import QUICK, is_sanitized, png

OUTPUTS = [["out.png"], ["out.%d.png"], ["out.exr"], ["out.tif"], ["out.mov"], ["out.mkv"], ["out.mp4"],
           ["out.mp4", "--codec", "h265"], ["out.webm"], ["out.gif"], ["out.webp"], ["out.apng"]]


def run(trial):
    r = trial.random
    trial.path("in.png").write_bytes(png(64, 36))
    kind = r.choice(["memory", "descriptors", "size", "stack", "time"])
    if kind == "memory" and is_sanitized(trial.program):
        kind = "size"
    limits = {
        "memory": {resource.RLIMIT_AS: r.randrange(150, 1500) << 20},
        "descriptors": {resource.RLIMIT_NOFILE: r.randrange(3, 20)},
        "size": {resource.RLIMIT_FSIZE: r.choice([0, 1, 100, 500, 2000, 5000, 20000, 100000])},
        "stack": {resource.RLIMIT_STACK: r.choice([200, 300, 500, 800, 1024, 2000, 4000]) << 10},
        "time": {resource.RLIMIT_CPU: 1},
    }[kind]
    output = r.choice(OUTPUTS)
    frames = ["--frames", "1" if output[0] in ("out.png", "out.exr", "out.tif") else "1-2000" if kind == "time" else "1-4"]
    code, _, err = trial.run("render", "in.png", "-o", *output, *frames, "--quiet", *QUICK, limits=limits)
    allowed = {0, 1, 3, 4, 5}
    # The system's loader ends with 127 when there is not even room for the libraries.
    if kind in ("memory", "descriptors"):
        allowed |= {127}
    if kind == "time" and code in (-signal.SIGXCPU, -signal.SIGKILL):
        trial.require(not trial.path(output[0]).exists(), "the output is there")
        return
    trial.requireCode(code, allowed)
    if code not in (0, 127):
        trial.requireWords(code, err)
        if output[0] != "out.%d.png":
            trial.require(not trial.path(output[0]).exists(), f"exit code {code} and an output")
