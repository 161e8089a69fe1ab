"""Random project files: right, nearly right, wrong and damaged."""
import json

from trial import QUICK, parameters

NUMBERS = [0, 1, -1, 0.5, 7, 40, 100, 300, -0.0, 1e-320, 1e308, -1e308, 1e15, 2**31, 2**63, 2**64, 10**400]
TEXTS = ["", "8", "16", "24", "23.976", "1-3", "5-1", "64x36", "0x0", "campfire", "Cover", "linear", "#ff8000", "1,0,0",
         "\x00", "\x1b[2J", "é" * 300, "null", "../../etc/passwd", "-1", "1e9", "inf", "nan", "1" * 400]
EASES = ["hold", "linear", "ease-in", "ease-out", "ease", "bezier", "Linear", "", 3, None]


def anything(r, depth=0):
    kind = r.randrange(7 if depth < 4 else 4)
    if kind == 0:
        return r.choice(NUMBERS)
    if kind == 1:
        return r.choice(TEXTS)
    if kind == 2:
        return r.choice([None, True, False])
    if kind == 3:
        return r.uniform(-400, 400)
    if kind == 4:
        return [anything(r, depth + 1) for _ in range(r.randrange(5))]
    return {r.choice(TEXTS): anything(r, depth + 1) for _ in range(r.randrange(4))}


def value(r, parameter):
    if r.random() < 0.05:
        return anything(r)
    if parameter["entries"]:
        return r.choice(parameter["entries"])
    default = parameter.get("default")
    if isinstance(default, list):
        return [r.uniform(0, 1) for _ in default]
    low, high = parameter.get("minimum", 0), parameter.get("maximum", 1)
    if not isinstance(low, (int, float)) or not isinstance(high, (int, float)):
        low, high = 0, 1
    return r.choice([low, high, r.uniform(low, high), r.randint(int(low), max(int(low), int(high)))])


def keyframes(r, parameter):
    frames = []
    for _ in range(r.choice([0, 1, 2, 3, 12])):
        keyframe = {"frame": r.choice([r.uniform(-10, 60), r.randrange(50)]), "value": value(r, parameter)}
        if r.random() < 0.6:
            keyframe["ease"] = r.choice(EASES[:5] if r.random() < 0.9 else EASES)
        if r.random() < 0.1:
            keyframe["ease"] = "bezier"
            keyframe["bezier"] = [r.uniform(0, 1) for _ in range(r.choice([4, 4, 4, 3]))]
        if r.random() < 0.03:
            keyframe[r.choice(TEXTS)] = anything(r)
        frames.append(keyframe)
    return frames


def project(r, known):
    document = {"version": 1}
    chosen = r.sample(known, r.randrange(len(known)))
    document["parameters"] = {p["name"]: keyframes(r, p) if r.random() < 0.3 else value(r, p) for p in chosen}
    for key, usual in (("preset", "campfire"), ("size", "40x20"), ("frames", "1-2"), ("fps", 24), ("bits", 8)):
        if r.random() < 0.2:
            document[key] = usual if r.random() < 0.7 else anything(r)
    if r.random() < 0.1:
        document[r.choice(TEXTS)] = anything(r)
    return document if r.random() < 0.97 else anything(r)


def damaged(r, data):
    data = bytearray(data)
    for _ in range(r.randrange(1, 6)):
        at = r.randrange(len(data) + 1)
        kind = r.randrange(4)
        if kind == 0:
            del data[at:]
        elif kind == 1:
            data[at:at + 1] = bytes([r.randrange(256)])
        elif kind == 2:
            data[at:at] = r.choice([b"[", b"{", b"]", b'"', b",", b"\\u", b"\xff", b"1e999"]) * r.choice([1, 50000])
        else:
            data[at:at] = data[:r.randrange(len(data) + 1)]
    return bytes(data)


def run(trial):
    r = trial.random
    known = [p for p in parameters(trial.program) if p["kind"] != "custom"]
    text = json.dumps(project(r, known)).encode()
    if r.random() < 0.3:
        text = damaged(r, text)
    trial.path("p.json").write_bytes(text)
    output, more = r.choice([("out.png", ["--frames", "1"]), ("out.%d.png", ["--frames", "1-2"]),
                             ("out.mkv", ["--frames", "2"])])
    # Cheap whatever the project says, but for the parameters themselves.
    cheap = QUICK if r.random() < 0.8 else []
    code, _, err = trial.run("render", "--input-test-pattern", "title", "--size", "32x18", "--project", "p.json", "-o",
                             output, "--quiet", *more, *cheap)
    trial.requireCode(code, {0, 2, 3})
    trial.requireWords(code, err)
    written = [name for name in trial.files() if name.startswith("out")]
    trial.require(bool(written) == (code == 0), f"exit code {code} with {written}")
