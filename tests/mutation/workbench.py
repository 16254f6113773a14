"""A copy of the repository whose preset `dev` is built with mutants, and how its tests are run."""

import json
import os
import re
import resource
import shlex
import signal
import subprocess

HERE = os.path.dirname(os.path.realpath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
WORK = os.path.join(ROOT, "build", "mutation")
SOURCE = os.path.join(WORK, "source")
BUILD = os.path.join(SOURCE, "build", "dev")


def run(*command, **options):
    return subprocess.run(command, check=True, **options)


def tracked_files():
    out = run("git", "-C", ROOT, "ls-files", "-co", "--exclude-standard", capture_output=True, text=True).stdout
    return [f for f in out.split("\n") if f and os.path.exists(os.path.join(ROOT, f))]


def sources_of(file):
    """The sources that are compiled by this one: those that it includes when CMake has put several together."""
    if "/Unity/" not in file:
        return [file]
    with open(file) as text:
        return re.findall(r'#include "(.*\.cpp)"', text.read())


def compile_commands():
    folder = os.path.join(WORK, "plain")
    run("cmake", "-G", "Ninja", "-S", ROOT, "-B", folder, "-D", "CMAKE_BUILD_TYPE=Debug",
        "-D", "CMAKE_EXPORT_COMPILE_COMMANDS=ON", "-D", "BUILD_TESTING=ON",
        "-D", "VESK_VALIDATE=ON", stdout=subprocess.DEVNULL)
    with open(os.path.join(folder, "compile_commands.json")) as file:
        entries = json.load(file)
    commands = {}
    for entry in entries:
        words = shlex.split(entry["command"])
        kept = [w for i, w in enumerate(words)
                if w.startswith(("-I", "-D", "-std")) or w == "-isystem" or words[i - 1] == "-isystem"]
        for source in sources_of(entry["file"]):
            commands.setdefault(os.path.relpath(source, ROOT), kept)
    return commands


def write_if_changed(path, data):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if os.path.islink(path):
        os.unlink(path)
    if os.path.exists(path):
        with open(path, "rb") as file:
            if file.read() == data:
                return
    with open(path, "wb") as file:
        file.write(data)


def write_copy(files, changed):
    """Copies the files, those that have changed with the functions of mutants.hpp before their new text."""
    # The compiler takes what a source includes for a header of the system: it does not warn of anything.
    # It optimises them, because the questions whether a mutant acts are short functions.
    start = b"#pragma GCC system_header\n#pragma GCC optimize(\"O1\")\n#include \"" + HERE.encode() + b"/mutants.hpp\"\n"
    for name in files:
        path = os.path.join(SOURCE, name)
        if name not in changed:
            with open(os.path.join(ROOT, name), "rb") as file:
                write_if_changed(path, file.read())
            os.chmod(path, os.stat(os.path.join(ROOT, name)).st_mode)
        elif name.endswith(".cpp"):
            write_if_changed(path + ".inc", start + changed[name])
            write_if_changed(path, f'#include "{path}.inc"\n'.encode())
        else:
            write_if_changed(path, start + changed[name])


def build(targets):
    """Whether everything compiles, and the lines (file and text) that do not."""
    run("cmake", "--preset", "dev", cwd=SOURCE, stdout=subprocess.DEVNULL)
    done = subprocess.run(["cmake", "--build", BUILD, "-j", str(jobs()), "--target", *targets, "--", "-k", "0"],
                          text=True, capture_output=True)
    wrong = set()
    if done.returncode != 0:
        with open(os.path.join(WORK, "build.log"), "w") as log:
            log.write(done.stdout + done.stderr)
        where = r"((?:Engines|tools)/[^:\s]+\.[ch]pp)(?:\.inc)?:(\d+):\d+: +(?:error|required from)"
        for file, line in re.findall(where, done.stdout):
            path = os.path.join(ROOT, file)
            with open(path) as text:  # three lines stand before it in the copy
                wrong.add((path, text.read().split("\n")[int(line) - 4].strip()))
    return done.returncode == 0, wrong


def jobs():
    return int(os.environ.get("VESK_JOBS", "0")) or os.cpu_count()


def limits(seconds):
    def apply():
        # What runs in the background ignores some of them, and so would the tests, but not with CTest.
        for number in (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM):
            signal.signal(number, signal.SIG_DFL)
        resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 1))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_AS, (6 << 30, 6 << 30))
    return apply


def succeeds(command, folder, seconds, environment):
    """False also when the command takes too long: seconds of processor, or eight times as many outside."""
    child = subprocess.Popen(command, cwd=folder, env={**os.environ, **environment}, stdin=subprocess.DEVNULL,
                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                             preexec_fn=limits(seconds), start_new_session=True)
    try:
        return child.wait(timeout=8 * seconds + 20) == 0
    except subprocess.TimeoutExpired:
        os.killpg(child.pid, 9)
        child.wait()
        return False
