"""Renders that end at random moments, and what --resume makes of the rest."""
import signal
import subprocess
import time

from trial import QUICK, png

FRAMES = 20


def start(trial, words):
    return subprocess.Popen([trial.program, *words], cwd=trial.folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE)


def end(trial, process, words, number):
    """Lets it work for a while, ends it, and checks what it says."""
    time.sleep(trial.random.expovariate(4.0))
    process.send_signal(number)
    out, err = trial.ended(process, words)
    code, _, _ = trial.finished(words, process.returncode, out, err)
    # Until it listens for them, signals end it as they end every program.
    allowed = {0, -number} | ({128 + number} if number != signal.SIGKILL else set())
    trial.require(code in allowed, f"exit code {code} after signal {number}")
    return code


def run(trial):
    r = trial.random
    trial.path("in.png").write_bytes(png(64, 36))
    number = r.choice([signal.SIGKILL, signal.SIGKILL, signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
    more = ["--frames", f"1-{FRAMES}", "--set", f"glow={r.randrange(1, 40)}", *QUICK, "--quiet"]
    if r.random() < 0.3:
        output = r.choice(["out.mkv", "out.mp4", "out.mov"])
        words = ["render", "in.png", "-o", output, *more]
        code = end(trial, start(trial, words), words, number)
        # A movie that was interrupted has the frames up to there. A signal may also come after the movie got its name and
        # before the program is gone: then every frame is there.
        if trial.path(output).exists():
            last = 1 if code == 128 + number else FRAMES
            again, _, _ = trial.run("render", output, "-o", "look.png", "--frames", str(last), "--quiet", *QUICK)
            trial.requireCode(again, {0})
        return
    words = ["render", "in.png", "-o", "out.%d.png", *more, "--resume"]
    for _ in range(r.randrange(1, 4)):
        end(trial, start(trial, words), words, number)
    code, _, _ = trial.run(*words)
    trial.requireCode(code, {0})
    code, out, _ = trial.run("verify", "out.png.manifest.jsonl")
    trial.requireCode(code, {0})
    trial.require(out.startswith(f"{FRAMES} of {FRAMES} ".encode()), out.decode())
