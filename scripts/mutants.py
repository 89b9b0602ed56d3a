"""The driver behind scripts/mutants.sh: reads the list, applies one mutant at a
time to the scratch copy, rebuilds the test programs its CTest regex selects,
runs them and restores the file. See mutants.sh for the options."""
import argparse
import filecmp
import json
import os
import re
import shutil
import subprocess
import sys
import time

SEPARATOR = " @@ "


class Mutant:
    def __init__(self, number, fields, line_number):
        if len(fields) < 6:
            raise ValueError(f"line {line_number}: expected 6 fields separated by '{SEPARATOR.strip()}'")
        self.number = number
        self.name, where, self.text, self.replacement, self.regex, self.rule = fields[:6]
        self.equivalent = fields[6] if len(fields) > 6 else ""
        self.file, _, occurrence = where.partition("#")
        self.occurrence = int(occurrence) if occurrence else 1


def read_list(path):
    mutants = []
    with open(path, encoding="utf-8") as source:
        for line_number, line in enumerate(source, 1):
            line = line.rstrip("\n")
            if not line.strip() or line.lstrip().startswith("#"):
                continue
            # An empty replacement leaves two separators next to each other.
            fields = [field.strip() for field in line.replace(" @@  @@ ", " @@ \x00 @@ ").split(SEPARATOR)]
            fields = ["" if field == "\x00" else field for field in fields]
            mutants.append(Mutant(len(mutants) + 1, fields, line_number))
    return mutants


def select(mutants, wanted):
    if not wanted:
        return mutants
    chosen = []
    for item in wanted:
        if re.fullmatch(r"\d+(-\d+)?", item):
            first, _, last = item.partition("-")
            numbers = range(int(first), int(last or first) + 1)
            picked = [m for m in mutants if m.number in numbers]
        else:
            picked = [m for m in mutants if m.name.startswith(item)]
        if not picked:
            sys.exit(f"mutants: nothing in the list matches '{item}'")
        chosen += [m for m in picked if m not in chosen]
    return sorted(chosen, key=lambda m: m.number)


def find_offset(content, text, occurrence):
    at = -1
    for _ in range(occurrence):
        at = content.find(text, at + 1)
        if at < 0:
            return -1
    return at


def sync_copy(repo, root):
    """Brings the copy up to the working tree, build folders and git aside.
    Only files whose content differs are written, and they get a new time, so
    the next build sees exactly those; a file a mutant changed and that was
    put back keeps its newer time, so it is rebuilt too."""
    def skipped(relative):
        return relative in ("build", ".git")

    for folder, subfolders, files in os.walk(repo):
        relative = os.path.relpath(folder, repo)
        subfolders[:] = [d for d in subfolders if not skipped(os.path.normpath(os.path.join(relative, d)))]
        os.makedirs(os.path.join(root, relative), exist_ok=True)
        for name in files:
            source = os.path.join(folder, name)
            target = os.path.join(root, relative, name)
            if not os.path.exists(target) or not filecmp.cmp(source, target, shallow=False):
                shutil.copyfile(source, target)
                shutil.copymode(source, target)
    for folder, subfolders, files in os.walk(root):
        relative = os.path.relpath(folder, root)
        subfolders[:] = [d for d in subfolders if not skipped(os.path.normpath(os.path.join(relative, d)))]
        for name in files + subfolders:
            if not os.path.lexists(os.path.join(repo, relative, name)):
                gone = os.path.join(folder, name)
                shutil.rmtree(gone) if os.path.isdir(gone) and not os.path.islink(gone) else os.remove(gone)
    copy_build = os.path.join(root, "build")
    os.makedirs(copy_build, exist_ok=True)
    deps = os.path.join(copy_build, "_deps")
    if not os.path.lexists(deps):
        os.symlink(os.path.join(repo, "build", "_deps"), deps)


class Tree:
    def __init__(self, root, preset, timeout, keep_going):
        self.root = root
        self.preset = preset
        self.build = os.path.join(root, "build", preset)
        self.timeout = timeout
        self.keep_going = keep_going
        self.targets_of = {}

    def run(self, command, log, timeout=None):
        with open(log, "w", encoding="utf-8") as output:
            try:
                return subprocess.run(command, cwd=self.root, stdout=output, stderr=subprocess.STDOUT,
                                      timeout=timeout).returncode
            except subprocess.TimeoutExpired:
                output.write("\nmutants: timed out\n")
                return 124

    def targets(self, regex):
        """The programs CTest runs for `regex`: each test's command names its
        executable after the emulator, and its file name is the target's name."""
        if regex not in self.targets_of:
            listing = subprocess.run(["ctest", "--preset", self.preset, "-N", "-R", regex, "--show-only=json-v1"],
                                     cwd=self.root, capture_output=True, text=True, check=True)
            names = set()
            for test in json.loads(listing.stdout).get("tests", []):
                for word in test.get("command", []):
                    if word.lower().endswith(".exe"):
                        names.add(os.path.splitext(os.path.basename(word))[0])
                        break
            if not names:
                raise RuntimeError(f"no test matches {regex}")
            self.targets_of[regex] = sorted(names)
        return self.targets_of[regex]

    def build_for(self, regexes, log):
        targets = sorted({t for regex in regexes for t in self.targets(regex)})
        return self.run(["cmake", "--build", self.build, "--target", *targets], log) == 0

    def test(self, regex, log):
        command = ["ctest", "--preset", self.preset, "-R", regex, "-j2", "--timeout", str(self.timeout)]
        if not self.keep_going:
            command.append("--stop-on-failure")
        return self.run(command, log)

    def session(self, action):
        subprocess.run([os.path.join(self.root, "scripts", "wine-session.sh"), action, self.build], check=False)


def run_mutant(tree, mutant, logs):
    path = os.path.join(tree.root, mutant.file)
    log = os.path.join(logs, f"{mutant.number:02d}-{mutant.name}")
    try:
        with open(path, encoding="utf-8", newline="") as source:
            original = source.read()
    except FileNotFoundError:
        return "text not found", "no such file"
    at = find_offset(original, mutant.text, mutant.occurrence)
    if at < 0:
        return "text not found", ""
    mutated = original[:at] + mutant.replacement + original[at + len(mutant.text):]
    try:
        with open(path, "w", encoding="utf-8", newline="") as target:
            target.write(mutated)
        if not tree.build_for([mutant.regex], log + ".build.log"):
            return "did not build", log + ".build.log"
        code = tree.test(mutant.regex, log + ".test.log")
        return ("killed" if code != 0 else "survived"), log + ".test.log"
    finally:
        # Written, not touched back: the next build must see the file changed.
        with open(path, "w", encoding="utf-8", newline="") as target:
            target.write(original)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--repo", required=True)
    parser.add_argument("--tree", required=True)
    parser.add_argument("--preset", required=True)
    parser.add_argument("--work", required=True)
    parser.add_argument("--list", required=True)
    parser.add_argument("--out")
    parser.add_argument("--timeout", type=int, default=60)
    parser.add_argument("--skip-check", action="store_true")
    parser.add_argument("--keep-going", action="store_true")
    parser.add_argument("wanted", nargs="*")
    options = parser.parse_args()

    mutants = select(read_list(options.list), options.wanted)
    tree = Tree(options.tree, options.preset, options.timeout, options.keep_going)
    logs = os.path.join(options.work, "logs")
    os.makedirs(logs, exist_ok=True)
    out = options.out or os.path.join(options.work, "results.txt")

    regexes = sorted({m.regex for m in mutants})
    started = time.time()
    # The copy mirrors the tree's layout (build folder at build/<preset>), so a
    # compiler cache keyed on relative paths serves both.
    sync_copy(options.repo, options.tree)
    if not os.path.exists(os.path.join(tree.build, "CMakeCache.txt")):
        if tree.run(["cmake", "--preset", options.preset], os.path.join(logs, "configure.log")) != 0:
            sys.exit(f"mutants: configuring the copy failed, see {logs}/configure.log")
    print(f"mutants: building the {len(mutants)} mutants' test programs unmutated", flush=True)
    if not tree.build_for(regexes, os.path.join(logs, "unmutated.build.log")):
        sys.exit(f"mutants: the unmutated copy does not build, see {logs}/unmutated.build.log")
    # After the build: the session registers the simulated runtime it finds.
    tree.session("start")
    if not options.skip_check:
        print("mutants: running them unmutated", flush=True)
        together = "|".join(f"({regex})" for regex in regexes)
        if tree.test(together, os.path.join(logs, "unmutated.test.log")) != 0:
            sys.exit(f"mutants: a test fails without any mutant, see {logs}/unmutated.test.log")

    rows = []
    for mutant in mutants:
        began = time.time()
        if mutant.equivalent:
            result, detail = "equivalent", mutant.equivalent
        else:
            result, detail = run_mutant(tree, mutant, logs)
        seconds = time.time() - began
        rows.append((mutant, result, seconds))
        print(f"{mutant.number:3d} {mutant.name:32s} {result:14s} {seconds:5.0f}s", flush=True)
        if result in ("did not build", "text not found") and detail:
            print(f"    {detail}", flush=True)
        write_table(out, rows, time.time() - started)

    print()
    with open(out, encoding="utf-8") as table:
        print(table.read(), end="")
    return 0


def write_table(out, rows, elapsed):
    counts = {}
    for _, result, _ in rows:
        counts[result] = counts.get(result, 0) + 1
    decided = counts.get("killed", 0) + counts.get("survived", 0)
    lines = [f"{'#':>3} {'mutant':32s} {'result':14s} {'time':>6}  rule", "-" * 100]
    for mutant, result, seconds in rows:
        lines.append(f"{mutant.number:3d} {mutant.name:32s} {result:14s} {seconds:5.0f}s  {mutant.rule}")
    lines.append("-" * 100)
    summary = ", ".join(f"{counts[k]} {k}" for k in sorted(counts))
    rate = f"{100.0 * counts.get('killed', 0) / decided:.0f} %" if decided else "n/a"
    lines.append(f"{len(rows)} mutants: {summary}; kill rate {rate} (killed of killed and survived); "
                 f"{elapsed / 60:.1f} min")
    with open(out, "w", encoding="utf-8") as table:
        table.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    sys.exit(main())
