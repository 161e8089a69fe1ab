"""Random command lines: every option with values that fit, nearly fit and do not."""
from trial import QUICK, png

VALUES = {
    "-o": ["out.png", "out.%d.png", "out.####.png", "out.tif", "out.exr", "out.mov", "out.mkv", "out.mp4", "out.webm",
           "out.apng", "out.webp", "out.gif", "out%%x.png", "out.jpg", "out", "", "no/out.png", "/dev/full", ".", "in.png",
           "s%d.png", "out.%d.%d.png", "out" + "n" * 250 + ".png", "OUT.PNG", "out.%02000d.png", "pipe.png", "dangling.png"],
    "--frames": ["1", "1-3", "2-9x3", "1,3", "0", "0-1", "3-1", "1-", "-1", "x", "", "1x2", "1,1", "000002",
                 "99999999999999999999", "1-3x0"],
    "--fps": ["24", "23.976", "30000/1001", "0", "-1", "1e3", "1000", "1000.1", "0.001", "1/0", "nan", "", "24/"],
    "--size": ["64x36", "1x1", "2x3", "49x16", "50x16", "333x2", "16384x1", "0x0", "-1x4", "16385x1", "64x", "x", "",
               "1e2x3", "64x36x1", " 8x8"],
    "--bits": ["8", "16", "10", "", "-8"],
    "--codec": ["prores", "h264", "h265", "ffv1", "vp9", "png", "half", "float", "lossy", "lossless", "gif", "", "H264"],
    "--alpha": ["straight", "premultiplied", "none", ""],
    "--over": ["#102030", "0,0.5,1", "in.png", "s%d.png", "none.png", "#12", "1,2,3", "", "#", "notes.txt", "."],
    "--input-alpha": ["auto", "straight", "premultiplied", "none", "x"],
    "--set": ["glow=21", "steps=10", "steps=0", "steps=nan", "steps=1e400", "glow=", "=1", "glow", "source-mode=Mix",
              "source-mode=mix", "inner-color=#ff0000", "inner-color=2,2,2", "attract-repel-point=0,1", "no=1",
              "pyrelux=50", "pyrelux=51", "direction=1e308", "é=1", "\x1b[2J=1"],
    "--preset": ["campfire", "slow-smoke", "torch", "Campfire", "", "nope"],
    "--project": ["good.json", "notes.txt", "none.json", ".", ""],
    "--save-project": ["saved.json", "in.png", "good.json", "no/saved.json", "saved", ".json"],
    "--backend": ["soft", "auto", "mesa", "egl", "gpu", "x"],
    "--progress": ["auto", "line", "json", "none", "x"],
    "--font": ["Sans 20", "Sans -1", "Sans 1e9", "", "No Such Font 12"],
    "--text-color": ["#ffffff", "1,1,1", "red", ""],
    "--font-file": ["notes.txt", "none.ttf", ".", "", "pipe.png", "in.png"],
    "--text-position": ["center", "50,20", "0,0", "1e3,5", "x", ""],
    "--text-align": ["left", "right", "center", "x"],
    "--text-wrap": ["80%", "1%", "100%", "0%", "80", ""],
    "--line-spacing": ["1", "0.1", "10", "0", "nan", ""],
    "--letter-spacing": ["0%", "-50%", "500%", "501%", "x", ""],
    "--vary": ["glow=1,20", "preset=campfire,torch", "frame=1-3", "glow=", "=", "frame=3-1", "steps=10,20"],
    "--cell": ["64", "100", "63", "-1", "99999"],
    "--columns": ["1", "2", "0", "x"],
    "--frame": ["1", "3", "x", "1-2"],
}
FLAGS = ["--overwrite", "--resume", "--quiet", "--verbose", "--no-audio", "--strict-fonts", "--presets", "--help", "--version",
         "--nope", "-", "--", "-x", "--json"]
INPUTS = [["in.png"], ["s%d.png"], ["s#.png"], ["cut.png"], ["notes.txt"], ["none.png"], ["."], ["pipe.png"], ["dangling.png"],
          ["--text", "Fire"], ["--text-file", "notes.txt"], ["--text-file", "cut.png"], ["--text", ""],
          ["--text", "\u202e\x01\\n"], ["--text", "A" * 2000],
          ["--input-test-pattern", "bars"], ["--input-test-pattern", "title"], ["--input-test-pattern", "x"], [],
          ["in.png", "in.png"]]
OTHERS = [["parameters"], ["presets"], ["verify", "notes.txt"], ["verify"], ["completion", "bash"], ["completion", "x"],
          ["info"], ["man"], [], ["nope"], ["parameters", "--schema"], ["--version"], ["help"], ["render"], ["sheet"]]


def prepare(trial):
    import os
    for name, shade in (("in.png", 0), ("s1.png", 1), ("s2.png", 2), ("s4.png", 4)):
        trial.path(name).write_bytes(png(32, 18, shade))
    trial.path("cut.png").write_bytes(png(32, 18)[:200])
    trial.path("notes.txt").write_text("notes\n")
    trial.path("good.json").write_text('{"version": 1, "parameters": {"glow": 20}}')
    os.mkfifo(trial.path("pipe.png"))
    os.symlink("nowhere", trial.path("dangling.png"))


def words(r):
    if r.random() < 0.1:
        return r.choice(OTHERS)
    command = r.choice(["render", "render", "render", "sheet"])
    line = [command, *r.choice(INPUTS[:4] if r.random() < 0.6 else INPUTS)]
    line += ["-o", r.choice(VALUES["-o"][:12] if r.random() < 0.6 else VALUES["-o"])]
    sheet = {"--vary", "--cell", "--columns", "--frame"}
    usual = [o for o in VALUES if o != "-o" and (o in sheet) <= (command == "sheet")]
    for option in r.sample(usual, r.choice([0, 1, 2, 3, 6])):
        few = VALUES[option][:3] if r.random() < 0.6 else VALUES[option]
        line += [f"{option}={r.choice(few)}"] if r.random() < 0.3 else [option, r.choice(few)]
    line += r.sample(FLAGS[:4] if r.random() < 0.8 else FLAGS, r.choice([0, 0, 1, 2]))
    # Cheap, unless the line says otherwise.
    isDrawn = any(word in line for word in ("--text", "--text-file", "--input-test-pattern"))
    if isDrawn and not any(word.startswith("--size") for word in line):
        line += ["--size", "64x36"]
    if not any(word.startswith("--preset") for word in line):
        line += QUICK
    if "--frames" not in line and command == "render" and r.random() < 0.9:
        line += ["--frames", r.choice(["1", "1-2"])]
    return line


def run(trial):
    r = trial.random
    prepare(trial)
    before = trial.snapshot()
    line = words(r)
    code, _, err = trial.run(*[word.replace("\0", "") for word in line])
    trial.requireCode(code, {0, 1, 2, 3, 4, 5})
    if "--help" not in line and "--version" not in line:
        trial.requireWords(code, err)
    after = trial.snapshot()
    changed = {name for name in before if after.get(name) != before[name]}
    # What is named as an output may be replaced, when that is asked for.
    allowed = {word.split("=")[-1] for word in line} if "--overwrite" in line or "--save-project" in " ".join(line) else set()
    trial.require(not any(name in {"in.png", "notes.txt", "cut.png"} or name not in allowed and not name.startswith("s")
                          for name in changed), f"{changed} changed")
    if code in (2, 3, 4, 5):
        made = {n for n in after if n not in before and not n.endswith((".json", ".jsonl"))}
        trial.require(not made or code != 2, f"exit code {code} and {made} made")
