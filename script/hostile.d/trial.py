"""One trial: its random numbers, its folder, and what holds whatever is done to the program."""
import functools
import json
import os
import pathlib
import random
import resource
import shlex
import shutil
import struct
import subprocess
import zlib

# Whatever takes longer hangs.
PATIENCE_SECONDS = 60

QUICK = ["--set", "steps=10", "--set", "pyrelux=1"]


@functools.lru_cache
def parameters(program):
    return json.loads(subprocess.run([program, "parameters", "--json"], capture_output=True, check=True).stdout)


@functools.lru_cache
def is_sanitized(program):
    """Sanitizers need more addresses than a limit would leave."""
    return b"__asan_init" in program.read_bytes()


def is_starved(pid):
    """Whether it would run if it could, and has had less time than a hang takes."""
    states, ticks = set(), 0
    for thread in pathlib.Path(f"/proc/{pid}/task").iterdir():
        fields = (thread / "stat").read_text().rpartition(")")[2].split()
        states.add(fields[0])
        ticks += int(fields[11]) + int(fields[12])
    return "R" in states and ticks / os.sysconf("SC_CLK_TCK") < PATIENCE_SECONDS


def png(width, height, shade=0):
    """A small picture with alpha."""
    rows = b"".join(b"\0" + bytes((x * 7 + shade) % 256 if c < 3 else (x * y * 3) % 256
                                  for x in range(width) for c in range(4)) for y in range(height))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


class Trial:
    def __init__(self, program, seed, folder):
        self.program = program
        self.random = random.Random(seed)
        self.folder = folder
        self.lines = []

    def path(self, name):
        return self.folder / name

    def log(self):
        return "\n".join(self.lines) + "\n"

    def remove(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def require(self, holds, what):
        if not holds:
            raise AssertionError(what + "\n  " + "\n  ".join(self.lines[-3:]))

    def limited(self, limits):
        """What a child calls before the program begins."""
        def apply():
            for what, value in limits.items():
                resource.setrlimit(what, (value, value))
        return apply if limits else None

    def run(self, *arguments, limits=None, **streams):
        """Runs the program and checks what holds for all runs. Returns code, output, errors."""
        words = [str(self.program), *map(str, arguments)]
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **streams}
        process = subprocess.Popen(words, cwd=self.folder, preexec_fn=self.limited(limits), **options)
        out, err = self.ended(process, words)
        return self.finished(words, process.returncode, out or b"", err or b"")

    def ended(self, process, words):
        """Waits for the end. A machine that has no time for the program does not make it hang."""
        for _ in range(20):
            try:
                return process.communicate(timeout=PATIENCE_SECONDS)
            except subprocess.TimeoutExpired:
                if not is_starved(process.pid):
                    break
        process.kill()
        process.communicate()
        self.lines.append(shlex.join(map(str, words)))
        self.require(False, f"hangs for {PATIENCE_SECONDS} s")

    def finished(self, words, code, out, err):
        self.lines.append(shlex.join(words)[:2000] + f"  -> {code}")
        self.lines.append(err.decode(errors="replace")[-2000:])
        for sign in (b"Sanitizer", b"runtime error", b"terminate called", b"Assertion"):
            self.require(sign not in err, "something is broken inside")
        self.requireWholeFiles()
        return code, out, err

    def requireCode(self, code, allowed):
        self.require(code >= 0, f"ended by signal {-code}")
        self.require(code in allowed, f"exit code {code} is not one of {sorted(allowed)}")

    def requireWords(self, code, err):
        """A failure is told in lines of ours."""
        if code == 0:
            return
        lines = err.decode(errors="replace").splitlines()
        self.require(lines, f"exit code {code} and not a word")
        for line in lines:
            # The loader of Objective-C says by itself which library it has no memory for.
            if line.startswith("Error (objc-load)"):
                continue
            self.require(line.startswith("pyrelux: "), "a line that is not ours: " + line)

    def files(self):
        """The names of all files, without what is hidden."""
        return {str(f.relative_to(self.folder)): f for f in self.folder.rglob("*")
                if not f.name.startswith(".") and f.is_file()}

    def snapshot(self):
        return {name: file.read_bytes() for name, file in self.files().items()}

    def requireWholeFiles(self):
        """No output that is half-written has its final name."""
        for name, file in self.files().items():
            # A manifest may be anything, even endless.
            if not file.name.startswith("out") or file.suffix == ".jsonl":
                continue
            data = file.read_bytes()
            whole = {".png": data[:4] == b"\x89PNG" and data[-8:-4] == b"IEND",
                     ".mov": b"moov" in data, ".mp4": b"moov" in data, ".mkv": data[:4] == b"\x1aE\xdf\xa3",
                     ".webm": data[:4] == b"\x1aE\xdf\xa3", ".gif": data[-1:] == b";",
                     ".webp": data[:4] == b"RIFF" and len(data) >= 8 and
                     struct.unpack("<I", data[4:8])[0] + 8 == len(data),
                     ".apng": data[:4] == b"\x89PNG" and data[-8:-4] == b"IEND",
                     ".exr": data[:4] == b"v/1\x01", ".tif": data[:2] in (b"II", b"MM")}.get(file.suffix, True)
            self.require(whole, f"'{name}' is half-written")
