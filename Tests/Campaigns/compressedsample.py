"""The compressed file that the campaigns of expansions try, and what may have become of it."""

import os
import struct
import zlib

MODE = 0o640
OWNER, GROUP = 4321, 1234  # where the campaign may give files away
TIME_NS = 1_000_000_001_123_456_789
ACCESS_NS = 1_000_000_002_987_654_321
KEPT = {"user.kept": b"value", "user.another": b"\x00\xff"}
DROPPED = "user.com.dovrane.tamsel.signature"
FORK = "user.com.apple.ResourceFork"
HEADER = "user.com.apple.decmpfs"
FLAGS = "user.tamsel.st_flags"
COMPRESSED, SAVED = 0x20, 0x06  # append-only and immutable, as the file manager reports them
LABEL = "security.tamsel"
ACCESS_LIST = "system.posix_acl_access"
FINDER_INFORMATION = b"TEXTttxt" + bytes(24)

# Ends of an expansion that was past the last block, where the flag is set again.
AFTER_THE_BLOCKS = ("attributesNotCopied", "accessNotKept", "sizeDiffers", "beingWritten", "changed", "cancelled")
# Calls that setting it needs: only where one of them failed may it be left cleared then.
OF_THE_FLAG = ("fstat", "lgetxattr", "lseek", "lsetxattr", "newfstatat", "openat", "pread64", "statx")


def content():
    lines = []
    size = 0
    number = 0
    while size < 140_000:
        lines.append(f"line {number * 7919} of a file that is to be lost by nobody\n")
        size += len(lines[-1])
        number += 1
    return "".join(lines).encode()[:140_000]


def fork(data):
    blocks = [zlib.compress(data[at:at + 65536], 9) for at in range(0, len(data), 65536)]
    table = b""
    offset = 4 + 8 * len(blocks)
    for block in blocks:
        table += struct.pack("<II", offset, len(block))
        offset += len(block)
    body = struct.pack("<I", len(blocks)) + table + b"".join(blocks)
    head = struct.pack(">IIII", 256, 256 + 4 + len(body), 4 + len(body), 50) + bytes(240)
    end = bytes(24) + bytes([0, 0x1C, 0, 0x32, 0, 0]) + b"cmpf" + bytes([0, 0, 0, 10, 0, 1, 255, 255]) + bytes(8)
    return head + struct.pack(">I", len(body)) + body + end


def companion(fork_bytes, with_finder_information):
    if not with_finder_information:
        return struct.pack(">II16xHIII", 0x00051607, 0x00020000, 1, 2, 38, len(fork_bytes)) + fork_bytes
    head = struct.pack(">II16xH", 0x00051607, 0x00020000, 2)
    head += struct.pack(">III", 9, 50, 32) + struct.pack(">III", 2, 82, len(fork_bytes))
    return head + FINDER_INFORMATION + fork_bytes


def entries(companion_bytes):
    """What a companion holds, by number; None when it is none."""
    if len(companion_bytes) < 26 or companion_bytes[:8] != struct.pack(">II", 0x00051607, 0x00020000):
        return None
    found = {}
    for number in range(struct.unpack_from(">H", companion_bytes, 24)[0]):
        identifier, offset, length = struct.unpack_from(">III", companion_bytes, 26 + 12 * number)
        found[identifier] = companion_bytes[offset:offset + length]
    return found


def whole(path):
    """The bytes of a file, which are read without a trace."""
    descriptor = os.open(path, os.O_RDONLY | os.O_NOATIME)
    with open(descriptor, "rb") as stream:
        return stream.read()


class Sample:
    """One file of three blocks, with its fork in the companion (`place` "companion"), in one that holds more
    ("shared"), or in an attribute ("attribute")."""

    def __init__(self, folder, place):
        self.place = place
        self.file = os.path.join(folder, "precious")
        self.companion = os.path.join(folder, "._precious")
        # Attributes have room for little.
        self.data = bytes(140_000) if place == "attribute" else content()
        self.fork = fork(self.data)
        self.companion_bytes = None if place == "attribute" else companion(self.fork, place == "shared")
        self.header = b"fpmc" + struct.pack("<IQ", 4, len(self.data))
        self.access_list = b""
        self.label = b""

    def make(self):
        with open(self.file, "wb"):
            pass
        for name, value in KEPT.items():
            os.setxattr(self.file, name, value)
        os.setxattr(self.file, DROPPED, b"x")
        os.setxattr(self.file, HEADER, self.header)
        os.setxattr(self.file, FLAGS, str(COMPRESSED | SAVED).encode())
        if self.companion_bytes is None:
            os.setxattr(self.file, FORK, self.fork)
        else:
            with open(self.companion, "wb") as stream:
                stream.write(self.companion_bytes)
        os.chmod(self.file, MODE)
        self.give_access()
        os.utime(self.file, ns=(ACCESS_NS, TIME_NS))

    def give_access(self):
        """An access list, a label and another owner, as far as the volume and the user have them to give."""
        everyone = 0xFFFFFFFF
        rights = ((1, 6, everyone), (2, 4, 4321), (4, 4, everyone), (16, 4, everyone), (32, 0, everyone))
        access_list = struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *right) for right in rights)
        self.access_list = self.set_if_possible(ACCESS_LIST, access_list)
        self.label = self.set_if_possible(LABEL, b"label")
        self.owners = (os.geteuid(), os.getegid())
        if os.geteuid() == 0:
            self.owners = (OWNER, GROUP)
            for path in (self.file, self.companion):
                if os.path.exists(path):
                    os.chown(path, *self.owners)

    def set_if_possible(self, name, value):
        try:
            os.setxattr(self.file, name, value)
        except OSError:
            return b""
        return value

    def attributes(self):
        return {name: os.getxattr(self.file, name, follow_symlinks=False)
                for name in os.listxattr(self.file, follow_symlinks=False)}

    def loss(self, attribute, run=None):
        """What is wrong with the file; and whether it is expanded. `attribute` gives one as a program sees it. `run` is
        what is known of the run that ended just now, if it was not killed."""
        try:
            status = os.lstat(self.file)
            data = whole(self.file)
        except OSError as error:
            return f"the file is gone: {error}", False
        is_expanded = data == self.data
        if data and not is_expanded:
            return f"a part of {len(data)} bytes stands in its place", False
        present = self.attributes()
        if run and run.is_denial:  # it was told that there is none, and can know no better
            self.access_list = present.get(ACCESS_LIST, b"")
            self.label = present.get(LABEL, b"")
        trouble = self.loss_of_access(status, present) or self.loss_of_attributes(present, attribute)
        if not trouble:
            trouble = self.loss_when_expanded(present, run) if is_expanded else self.loss_when_compressed(present, run)
        return trouble, is_expanded

    def loss_of_access(self, status, present):
        if status.st_mode & 0o7777 != MODE:
            return f"the mode is {status.st_mode:o}"
        if (status.st_uid, status.st_gid) != self.owners:
            return f"the owner and group are {status.st_uid} and {status.st_gid}"
        if status.st_mtime_ns != TIME_NS:
            return "the time was lost"
        if status.st_atime_ns != ACCESS_NS:
            return "the time of access was lost"
        if present.get(ACCESS_LIST, b"") != self.access_list:
            return "the access list was lost"
        if present.get(LABEL, b"") != self.label:
            return "the security label was lost"
        return None

    @staticmethod
    def loss_of_attributes(present, attribute):
        for name, value in KEPT.items():
            if present.get(name) != value and attribute(name) != value:
                return f"the attribute {name} was lost"
        return None

    def loss_when_expanded(self, present, run):
        for name in (HEADER, DROPPED, FORK):
            if name in present:
                return f"the attribute {name} was kept"
        # They are put back last of all, and when that fails nobody is told.
        are_flags_due = run and run.is_sound and run.failed not in ("fsetxattr", "fstatfs") and not run.is_denial
        flags = present.get(FLAGS, b"0")
        if flags not in ((b"6",) if are_flags_due else (b"6", b"0")):
            return f"the flags are {flags}"
        is_rewritten = run and run.is_sound and not run.is_denial and not run.answer.get("forkKept")
        return self.loss_of_companion(bool(is_rewritten))

    def loss_of_companion(self, is_rewritten):
        """With the whole fork as long as it is not rewritten, then without; with all else; or gone with that."""
        try:
            found = whole(self.companion)
        except FileNotFoundError:
            return "the companion is gone with what else it held" if self.place == "shared" else None
        if os.lstat(self.companion).st_uid != self.owners[0]:
            return "the companion is another's"
        held = entries(found)
        if not held:
            return "the companion is damaged"
        if self.place == "shared" and held.get(9, b"")[:32] != FINDER_INFORMATION:
            return "what else the companion held was lost"
        if held.get(2) and (is_rewritten or held[2] != self.fork):
            return "the compressed content was kept, or a part of it"
        return None

    def loss_when_compressed(self, present, run):
        if present.get(HEADER) != self.header:
            return "the header was lost"
        if self.companion_bytes is None and present.get(FORK) != self.fork:
            return "the compressed content was lost"
        if self.companion_bytes is not None and whole(self.companion) != self.companion_bytes:
            return "the compressed content was lost"
        return self.wrong_flag(present.get(FLAGS), run)

    @staticmethod
    def wrong_flag(flags, run):
        if flags not in (b"38", b"6"):
            return f"the flags are {flags}"
        if not run or not run.answer:
            return None
        is_cleared = flags == b"6"
        if is_cleared != run.answer.get("isFlagLeftCleared"):
            return f"it says that the flag is left cleared: {run.answer.get('isFlagLeftCleared')}, and it is {is_cleared}"
        if is_cleared and run.answer["reason"] in AFTER_THE_BLOCKS and run.failed not in OF_THE_FLAG:
            return f"the flag was not set again after the last block ({run.answer['reason']})"
        return None
