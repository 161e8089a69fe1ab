"""Manifests that others have written into, cut, or put in their place."""
import os

from trial import QUICK, png

MANIFEST = "out.png.manifest.jsonl"
LINES = [b"", b"null", b"[]", b"{}", b"\xff\xfe", b"[" * 300000, b"[" * 300000 + b"]" * 300000, b'{"a":' * 300000,
         b'{"frame":1}', b'{"frame":-1,"file":"out.1.png","bytes":1,"xxh3":"0"}',
         b'{"frame":1e999,"file":"out.1.png","bytes":1,"xxh3":"0"}',
         b'{"frame":2,"file":"../in.png","bytes":1,"xxh3":"0"}', b'{"frame":2,"file":"/etc/passwd","bytes":1,"xxh3":"0"}',
         b'{"frame":2,"file":"' + b"n" * 300 + b'","bytes":1,"xxh3":"0"}', b'{"settings":1}',
         b'{"frame":99999999999999999999,"file":"x","bytes":-1,"xxh3":"0"}', b'{"frame":2,"file":"\\u0000","bytes":1,"xxh3":"0"}',
         b'{"frame":2,"file":"\\u001b[2J","bytes":18446744073709551615,"xxh3":"0"}', b" " * 100000, b"\0" * 5000]


def damage(r, data):
    data = bytearray(data)
    for _ in range(r.randrange(1, 8)):
        at = r.randrange(len(data) + 1)
        kind = r.randrange(5)
        if kind == 0:
            del data[at:]
        elif kind == 1:
            data[at:at + 1] = bytes([r.randrange(256)])
        elif kind == 2:
            data += b"\n" + r.choice(LINES) + r.choice([b"", b"\n"])
        elif kind == 3:
            data[:0] = r.choice(LINES) + b"\n"
        else:
            del data[at:at + r.randrange(40)]
    return bytes(data)


def replace(r, path):
    """Puts something else there."""
    path.unlink()
    kind = r.randrange(5)
    if kind == 0:
        os.mkfifo(path)
    elif kind == 1:
        path.mkdir()
    elif kind == 2:
        path.symlink_to(r.choice(["in.png", "nowhere", MANIFEST, "/dev/zero"]))
    elif kind == 3:
        path.touch()
        os.truncate(path, r.choice([10, 10**6, 10**13]))
    else:
        path.write_bytes(r.choice([b"my notes\n", png(8, 8)]))


def run(trial):
    r = trial.random
    trial.path("in.png").write_bytes(png(32, 18))
    words = ["render", "in.png", "-o", "out.%d.png", "--frames", "1-3", "--quiet", *QUICK]
    code, _, _ = trial.run(*words)
    trial.requireCode(code, {0})
    manifest = trial.path(MANIFEST)
    if r.random() < 0.25:
        replace(r, manifest)
    else:
        manifest.write_bytes(damage(r, manifest.read_bytes()))
    # "changed" is looked at only where it is a file of ordinary length.
    ordinary = manifest.is_file() and not manifest.is_symlink() and manifest.stat().st_size < 10**8
    before = manifest.read_bytes() if ordinary else None
    code, out, err = trial.run("verify", MANIFEST)
    trial.requireCode(code, {0, 1, 3})
    if code == 3:
        trial.requireWords(code, err)
    trial.require(not any(byte < 32 and byte != 10 or byte == 127 for byte in out), "control characters come out")
    code, _, err = trial.run(*words, r.choice(["--resume", "--overwrite"]))
    trial.requireCode(code, {0, 4})
    trial.requireWords(code, err)
    if code == 4 and before is not None:
        trial.require(manifest.read_bytes() == before, "the manifest was changed")
    trial.require(trial.path("in.png").read_bytes() == png(32, 18), "the input was changed")
    if code == 0:
        code, out, _ = trial.run("verify", MANIFEST)
        trial.requireCode(code, {0, 1})
        for frame in (1, 2, 3):
            trial.require(f"out.{frame}.png is".encode() not in out, "a picture is not as it was rendered")
