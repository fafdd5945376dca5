"""What the campaigns of expansions share: a compressed file, what may have become of it, and volumes to try that on."""

import fcntl
import json
import os
import random
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

from compressedsample import Sample, companion, content, fork  # noqa: F401, for who shares this

IMAGE_SIZE = 320 << 20  # the least that XFS takes; only what is written of it takes space
SHUT_DOWN = 0x8004587D  # FS_IOC_SHUTDOWN of the kernel, as ext4, XFS and others have it
WITHOUT_LOG = 2


def has_mounts():
    """Whether the machine lets this process mount what no other sees, and has a loop device for it."""
    command = ["unshare", "--mount", "sh", "-c", "losetup --find"]
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0


def enter_private_mounts():
    """Starts the campaign again where nobody else sees what it mounts. Ends it with 77 where that cannot be had."""
    os.environ["PATH"] += ":/usr/sbin:/sbin"
    if os.environ.get("CAMPAIGN_HAS_PRIVATE_MOUNTS"):
        return
    if not has_mounts():
        print("the machine allows no mounts")
        sys.exit(77)
    os.environ["CAMPAIGN_HAS_PRIVATE_MOUNTS"] = "1"
    os.execvp("unshare", ["unshare", "--mount", "--propagation", "private", sys.executable, *sys.argv])


class Volume:
    """An empty volume of its own: in memory, or in an image that is mounted by a loop device."""

    def __init__(self, form):
        self.form = form
        self.point = tempfile.mkdtemp(prefix="campaign-volume-")
        self.image = None
        if form != "tmpfs":
            self.image = self.point + ".image"
            with open(self.image, "wb") as stream:
                stream.truncate(IMAGE_SIZE)
            subprocess.run([f"mkfs.{form}", "-q", self.image], check=True, stdout=subprocess.DEVNULL)
        self.mount()

    def mount(self):
        source = ["-o", "loop", self.image] if self.image else ["tmpfs"]
        subprocess.run(["mount", "-t", self.form, *source, self.point], check=True)

    def unmount(self):
        subprocess.run(["umount", self.point], check=True)

    def bring_to_the_medium(self):
        subprocess.run(["sync", "--file-system", self.point], check=True)

    def lose_power(self):
        """Nothing that is not on the medium gets there any more; the volume is as the next start finds it then."""
        folder = os.open(self.point, os.O_RDONLY)
        fcntl.ioctl(folder, SHUT_DOWN, struct.pack("I", WITHOUT_LOG))
        os.close(folder)

    def remove(self):
        subprocess.run(["umount", "--lazy", self.point], check=False, stderr=subprocess.DEVNULL)
        os.rmdir(self.point)
        if self.image:
            os.unlink(self.image)


class Begun:
    """A process that is stopped after a system call, and can go on."""

    def __init__(self, world, name, number):
        self.log = tempfile.NamedTemporaryFile(prefix="campaign-log-")
        command = ["strace", "-f", "-qq", "-o", self.log.name, f"--trace={name}",
                   f"--inject={name}:signal=STOP:when={number}", *world.command()]
        self.tracer = subprocess.Popen(command, env=world.environment, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.process = None
        while self.process is None and self.tracer.poll() is None:
            with open(self.log.name, encoding="utf-8", errors="replace") as lines:
                match = re.search(r"^(\d+)\s+--- stopped by SIGSTOP", lines.read(), re.MULTILINE)
            self.process = int(match.group(1)) if match else None
            time.sleep(0.001)

    def go_on(self):
        if self.process is not None:
            os.kill(self.process, signal.SIGCONT)
        self.tracer.wait()

    def end(self):
        if self.process is not None:
            os.kill(self.process, signal.SIGKILL)
        self.tracer.wait()


class Run:
    """How one expansion has ended, in which a call `failed` was made to fail with `error`."""

    def __init__(self, code, said, failed, error):
        self.failed = failed
        self.is_denial = error in ("ENODATA", "ENOENT", "EOPNOTSUPP")
        self.is_killed = code in (-signal.SIGKILL, 128 + signal.SIGKILL)
        self.is_sound = code == 0
        try:
            self.answer = json.loads(said.decode().splitlines()[-1])
        except (IndexError, ValueError):
            self.answer = {}  # it was not to be had


class World:
    """One compressed file in a folder of its own, and a temporary folder of its own."""

    def __init__(self, arguments):
        self.arguments = arguments
        self.volume = Volume(arguments.volume) if arguments.volume else None
        folder = self.volume.point if self.volume else arguments.folder or tempfile.gettempdir()
        self.log = tempfile.NamedTemporaryFile(prefix="campaign-log-")
        self.root = tempfile.mkdtemp(prefix="campaign-", dir=folder)
        is_beside = self.volume and arguments.scratch == "beside"
        self.temporary = tempfile.mkdtemp(prefix="campaign-", dir=None if is_beside else folder)
        self.folder = os.path.join(self.root, "folder")
        self.sample = Sample(self.folder, arguments.fork)
        self.file = self.sample.file
        self.environment = {"PATH": os.environ["PATH"], "HOME": self.root, "TMPDIR": self.temporary, "LC_ALL": "C",
                            "ASAN_OPTIONS": "detect_leaks=0"}  # which strace would make fail

    def make(self):
        shutil.rmtree(self.folder, ignore_errors=True)
        for name in self.scratch_files():
            os.unlink(name)
        os.mkdir(self.folder)
        self.sample.make()

    def scratch_files(self):
        found = []
        for place in (self.temporary, self.folder):
            for folder, _, names in os.walk(place):
                for name in names:
                    path = os.path.join(folder, name)
                    if path not in (self.file, self.sample.companion):
                        found.append(path)
        return found

    def command(self, verb="expand-file"):
        return [self.arguments.tamselctl, verb, "--json", self.file]

    def run(self, verb="expand-file"):
        return subprocess.run(self.command(verb), env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode

    def traced(self, *options, failed=None, error=None):
        command = ["strace", "-f", "-qq", *options, *self.command()]
        process = subprocess.run(command, env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                 stderr=subprocess.DEVNULL)
        return Run(process.returncode, process.stdout, failed, error)

    def begun(self, call):
        """An expansion that stops right after one of its system calls, or has ended before it got there."""
        return Begun(self, *call)

    def attribute(self, name):
        """As a program sees it: what did not fit into the file is kept in the companion."""
        command = [self.arguments.tamselctl, "attributes", "get", self.file, name.removeprefix("user.")]
        return subprocess.run(command, env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL).stdout

    def loss(self, run=None):
        """What is wrong with the file; and whether it is expanded."""
        return self.sample.loss(self.attribute, run)

    def loss_afterwards(self, is_expanded):
        """What is wrong after the next expansion, which has to do all that is left to be done."""
        if is_expanded:
            self.run()  # it has nothing to expand, but something to clean up perhaps
        else:
            self.run("repair")
            if self.run() != 0:
                return "the file cannot be repaired and expanded afterwards"
        trouble, is_expanded = self.loss()
        if trouble or not is_expanded:
            return f"the next expansion: {trouble}"
        left = self.scratch_files()
        return f"the next expansion left behind: {left}" if left else None

    def remove(self):
        shutil.rmtree(self.root, ignore_errors=True)
        shutil.rmtree(self.temporary, ignore_errors=True)
        if self.volume:
            self.volume.remove()


def calls_of(world):
    """Each call from the first that names the file on, as its name and which of that name in its process it is."""
    world.make()
    run = world.traced("-o", world.log.name)
    if not run.is_sound:
        sys.exit(f"the expansion fails by itself: {run.answer}")
    trouble, is_expanded = world.loss(run)
    if trouble or not is_expanded:
        sys.exit(f"the expansion does not expand: {trouble}")
    counts = {}
    calls = []
    has_begun = False
    process = None
    with open(world.log.name, encoding="utf-8", errors="replace") as lines:
        for line in lines:
            match = re.match(r"(\d+)\s+(\w+)\(", line)
            if not match:
                continue
            process = process or match.group(1)
            if match.group(1) != process:
                continue
            name = match.group(2)
            counts[name] = counts.get(name, 0) + 1
            has_begun = has_begun or ("precious" in line and name != "execve")
            if has_begun:
                calls.append((name, counts[name]))
    return calls


def add_arguments(parser, volumes=("ext4", "xfs", "btrfs", "tmpfs")):
    parser.add_argument("--tamselctl", required=True, help="the program")
    parser.add_argument("--folder", help="where the file is made")
    parser.add_argument("--volume", choices=volumes, help="makes it on such a volume of its own, as root")
    parser.add_argument("--scratch", choices=("there", "beside"), default="there",
                        help="whether the temporary folder lies on that volume, or the scratch file beside the file")
    parser.add_argument("--fork", choices=("companion", "shared", "attribute"), default="companion",
                        help="whether the fork lies in a companion, in one with Finder information, or in an attribute")
    parser.add_argument("--points", type=int, default=0, help="try that many, drawn at random; 0 for all")
    parser.add_argument("--seed", type=int, default=1, help="of the drawing")


def parsed(parser):
    arguments = parser.parse_args()
    if not shutil.which("strace"):
        sys.exit("strace is missing")
    if arguments.volume:
        enter_private_mounts()
    return arguments


def drawn(points, arguments):
    if not arguments.points or arguments.points >= len(points):
        return points
    return random.Random(arguments.seed).sample(points, arguments.points)
