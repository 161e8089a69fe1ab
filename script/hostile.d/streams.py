"""Standard streams that are closed, full, or end while somebody reads them."""
import os
import subprocess

from trial import QUICK, png

COMMANDS = [["parameters"], ["parameters", "--json"], ["presets"], ["--help"], ["--version"], ["completion", "zsh"], ["man"],
            ["info"], ["verify", "done.png.manifest.jsonl"],
            ["render", "in.png", "-o", "out.%d.png", "--frames", "1-5", "--progress", "json", *QUICK],
            ["render", "in.png", "-o", "out.mkv", "--frames", "1-5", "--progress", "line", *QUICK],
            ["render", "in.png", "-o", "-", "--format", "rgba", "--frames", "1-5", *QUICK],
            ["render", "in.png", "-o", "-", "--format", "mkv", "--frames", "1-5", *QUICK],
            ["render", "missing.png", "-o", "out.png"], ["render", "--nope"]]


def broken_pipe():
    ours, theirs = os.pipe()
    os.close(ours)
    return theirs


def run(trial):
    r = trial.random
    trial.path("in.png").write_bytes(png(32, 18))
    trial.requireCode(trial.run("render", "in.png", "-o", "done.%d.png", "--frames", "1", "--quiet", *QUICK)[0], {0})
    words = r.choice(COMMANDS)
    states = {stream: r.choice(["well", "closed", "full", "broken"]) for stream in (0, 1, 2)}
    script = 'exec "$@"' + "".join(f" {stream}{'<' if stream == 0 else '>'}&-" for stream, state in states.items()
                                   if state == "closed")
    streams = {}
    for stream, name in ((1, "stdout"), (2, "stderr")):
        if states[stream] == "full":
            streams[name] = os.open("/dev/full", os.O_WRONLY)
        elif states[stream] == "broken":
            streams[name] = broken_pipe()
    try:
        process = subprocess.run(["sh", "-c", script, "sh", trial.program, *words], cwd=trial.folder, timeout=60,
                                 stdin=subprocess.DEVNULL, **{"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **streams})
    except subprocess.TimeoutExpired:
        trial.require(False, f"hangs: {words} {states}")
    finally:
        for descriptor in streams.values():
            os.close(descriptor)
    code, out, _ = trial.finished([*map(str, words), str(states)], process.returncode, process.stdout or b"",
                                  process.stderr or b"")
    usual = 3 if "missing.png" in words else 2 if "--nope" in words else 0
    says = usual == 0 and "out.mkv" not in words
    trial.requireCode(code, {4} if says and states[1] != "well" else {usual})
    if "out.mkv" in words:
        trial.require(trial.path("out.mkv").exists(), "the movie is missing")
