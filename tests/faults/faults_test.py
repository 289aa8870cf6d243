"""Setup and the archiving command killed, on disks that fill or take nothing, and beside themselves.

The fault layer, the script's third argument, is preloaded into the companion and counts what it changes on the disk.
"""

import errno
import hashlib
import os
import plistlib
import re
import shutil
import signal
import stat
import subprocess
import sys

sys.path.append(os.path.join(os.path.dirname(__file__), "../companion"))
from companion import ORDINARY, PRATTLEBUG, SAMPLES, TRANSCRIPTS, CompanionTest, main  # noqa: E402

LAYER = sys.argv[3]
RESOURCES = os.path.join(SAMPLES, "../resources")
SUPPORT = "Library/Prattlebug"
PREFERENCES = "Library/Preferences/com.velmoria.prattlebug.plist"
MBOX = "Out/Prattlebug Archive mbox"
PREVIOUS = MBOX + ".previous"
STORES = ("gatheredURLs.plist", "gatheredImages.plist", "talkmeter.plist")
CHATS = (  # with links, a PDF document, a folder and pictures
    "Bob on Mars on 2004-01-24 at 22.50.chat",
    "Kim Lee on 2005-08-20 at 21.07 #2.ichat",
    "Tomás Novák on 2004-09-18 at 19.33.chat",
    "Zoë Müller on 2007-05-19 at 20.15.ichat",
)
KILLS = 200
ENDS = (b"</html>\n", b"</ul>\n", b"____LINKS\n", b"____IMAGES\n")  # of pages and templates


def tree(folder):
    """What lies below a folder: of a file its bytes, of anything else its kind."""
    held = {}
    for path, folders, files in os.walk(folder):
        for name in folders + files:
            full = os.path.join(path, name)
            is_file = stat.S_ISREG(os.lstat(full).st_mode)
            held[os.path.relpath(full, folder)] = digest(full) if is_file else stat.S_IFMT(os.lstat(full).st_mode)
    return held


def digest(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


def temporaries(held):
    return [path for path in held if "/.prattlebug-" in "/" + path]


class FaultTest(CompanionTest):
    def setUp(self):
        super().setUp()
        self.environment["ASAN_OPTIONS"] = "verify_asan_link_order=0"

    def run_with(self, fault, *arguments, prefix=()):
        """Runs the companion with the umask 0 and a fault; returns its exit code, negative for a signal, and what it printed."""
        environment = {**self.environment, **({"LD_PRELOAD": LAYER, "PRATTLEBUG_FAULT": fault} if fault else {})}
        result = subprocess.run([*prefix, PRATTLEBUG, *arguments], env=environment, capture_output=True, timeout=60, check=False, umask=0)
        self.assertNotIn(b"Sanitizer", result.stderr)
        return result.returncode, result.stdout + result.stderr

    def counts(self, *arguments):
        """How often a run changes the disk, and how many bytes it writes."""
        self.assertEqual(self.run_with("count:" + self.path("counts"), *arguments)[0], 0)
        with open(self.path("counts"), encoding="ascii") as file:
            calls, size = map(int, file.read().split())
        os.unlink(self.path("counts"))
        return calls, size


class Setup(FaultTest):
    ARGUMENTS = ("setup", "--email", "sam@example.org", "--contacts", os.path.join(SAMPLES, "contacts.vcf"),
                 os.path.join(SAMPLES, "chats"))

    def setUp(self):
        super().setUp()
        self.calls, self.size = self.counts(*self.ARGUMENTS)
        self.whole = self.held()
        self.empty()

    def empty(self):
        for name in os.listdir(self.home):
            shutil.rmtree(self.path(name))

    def held(self):
        """All but the ledger, which tells the copies in the order in which they were made."""
        return {name: value for name, value in tree(self.home).items() if not name.endswith("copies.ledger")}

    def check_finished(self, what):
        """What is there is whole, and the next setup goes on from it."""
        held = self.held()
        self.assertFalse(temporaries(held), what)
        self.assertLessEqual(held.items(), self.whole.items(), what)
        self.assertEqual(self.run_with(None, *self.ARGUMENTS)[0], 0)
        self.assertEqual(self.held(), self.whole, what)

    def test_a_disk_that_fills_keeps_what_is_whole(self):
        for number in range(24):
            for error in (errno.ENOSPC, errno.EDQUOT):
                fault = f"full:{number * self.size // 24}:{error}"
                self.empty()
                code, printed = self.run_with(fault, *self.ARGUMENTS)
                self.assertEqual(code, 1, (fault, printed))
                self.assertRegex(printed.decode(), f"{self.home}/.*: {os.strerror(error)}|The preferences could not be written", fault)
                self.check_finished(fault)

    def test_folders_that_are_locked_are_left_as_they_were(self):
        for folder in ("", "Documents", TRANSCRIPTS, SUPPORT, SUPPORT + "/Images", os.path.dirname(PREFERENCES)):
            self.empty()
            os.makedirs(self.path(folder), exist_ok=True)
            fault = "locked:" + self.path(folder)
            code, printed = self.run_with(fault, *self.ARGUMENTS)
            self.assertEqual(code, 1, (fault, printed))
            self.assertRegex(printed.decode(), "(The preferences could|: Read-only)", fault)
            self.check_finished(fault)

    def test_one_that_was_killed_is_finished_by_the_next(self):
        left = 0
        for number in range(1, self.calls, self.calls // 40):
            self.empty()
            self.assertEqual(self.run_with(f"kill:{number}", *self.ARGUMENTS)[0], -signal.SIGKILL)
            left += bool(temporaries(tree(self.home)))
            self.assertEqual(self.run_with(None, *self.ARGUMENTS)[0], 0)
            self.assertEqual(self.held(), self.whole, number)
        self.assertGreater(left, 10, "hardly any was killed while it had a temporary")


class Faults(FaultTest):
    def setUp(self):
        super().setUp()
        os.makedirs(self.path(TRANSCRIPTS))
        for name in CHATS:
            shutil.copy2(os.path.join(SAMPLES, "chats", name), self.path(TRANSCRIPTS))
        os.makedirs(self.path(SUPPORT, "Images"))
        for name in ("linktemplate.html", "imagetemplate.html", "statstemplate.html", "curses.plist", "netspeak.plist"):
            shutil.copy(os.path.join(RESOURCES, name), self.path(SUPPORT))
        self.prefer()
        self.transcripts = tree(self.path(TRANSCRIPTS))
        # A first run, so that there is something to lose, and what another one would leave in its place.
        self.archive()
        shutil.copytree(self.path(SUPPORT), self.path("pristine"), symlinks=True)
        self.archive()
        self.whole = tree(self.path(SUPPORT))
        self.mbox = self.messages()

    def prefer(self, **more):
        values = {"emailAddress": "sam@example.org", "emailPassword": "s3cret", **more}
        os.makedirs(os.path.dirname(self.path(PREFERENCES)), exist_ok=True)
        with open(self.path(PREFERENCES), "wb") as file:
            plistlib.dump(values, file)
        os.chmod(self.path(PREFERENCES), 0o600)

    def archive(self, fault=None, *options):
        code, printed = self.run_with(fault, "archive", "--quiet", *options, self.path("Out"))
        self.assertNotIn(b"s3cret", printed)
        return code

    def counted(self):
        self.restore()
        return self.counts("archive", "--quiet", self.path("Out"))

    def restore(self):
        shutil.rmtree(self.path(SUPPORT))
        shutil.copytree(self.path("pristine"), self.path(SUPPORT), symlinks=True)

    def messages(self, path=MBOX):
        """The mbox but for the times at which its messages were written and made unique."""
        with open(self.path(path), "rb") as file:
            text = re.sub(rb"(?m)^(From \S+) \w{3} \w{3} .*$", rb"\1", file.read())
        return re.sub(rb"(?m)^(Subject: .*) \(\d\d:.*\)$", rb"\1", text)

    def check(self, what):
        """What holds after a run, however it ended. Returns the temporaries that it has left."""
        self.assertEqual(tree(self.path(TRANSCRIPTS)), self.transcripts, what)
        held = tree(self.path(SUPPORT))
        for name in STORES:
            with open(self.path(SUPPORT, name), "rb") as file:
                plistlib.load(file)
        for name in held:
            if temporaries([name]) or name.startswith("Images/topimages"):
                continue
            if name.endswith(".html") and "/" not in name:
                with open(self.path(SUPPORT, name), "rb") as file:
                    page = file.read()
                self.assertTrue(page.startswith(b"<!DOCTYPE html>") and page.endswith(ENDS), (what, name))
            elif name.startswith("Images/"):
                self.assertEqual(held[name], self.whole[name], (what, name))
        self.assertLessEqual(self.whole.keys() - {name for name in self.whole if "topimages" in name}, held.keys(), what)
        with open(self.path(PREFERENCES), "rb") as file:
            self.assertEqual(plistlib.load(file)["emailPassword"], "s3cret", what)
        folder = os.path.dirname(self.path(PREFERENCES))
        for name in os.listdir(folder):  # temporaries too
            self.assertEqual(stat.S_IMODE(os.stat(os.path.join(folder, name)).st_mode) & 0o077, 0, (what, name))
        # Whatever became of the run, a whole mbox stands there.
        self.assertLessEqual(set(os.listdir(self.path("Out"))), {os.path.basename(MBOX), os.path.basename(PREVIOUS)}, what)
        self.assertEqual(self.messages(PREVIOUS if os.path.exists(self.path(PREVIOUS)) else MBOX), self.mbox, what)
        return temporaries(os.path.join("Support", name) for name in held) + temporaries(
            os.path.join("Preferences", name) for name in os.listdir(folder))

    def test_a_run_may_be_killed_at_any_moment(self):
        self.prefer(forceUniqueSubjects=True)
        calls, _ = self.counted()
        self.assertGreater(calls, KILLS)
        left = []  # for each run that was killed, the folders in which it has left a temporary
        for number in range(KILLS):
            at = 1 + number * (calls - 1) // (KILLS - 1)
            self.restore()
            code = self.archive(f"kill:{at}")
            if code == 0 and at > calls // 2:
                break  # pages are written more or less often, as time goes by: this run was through before
            self.assertEqual(code, -signal.SIGKILL, at)
            left.append({os.path.dirname(path) for path in self.check(at)})
            cut = self.messages() if os.path.exists(self.path(MBOX)) else b""
            if b"\n" in cut[-120:]:  # the time in a separator line that is cut off could not be left out
                self.assertTrue(self.mbox.startswith(cut[:cut.rindex(b"\n")]), at)
            if number % 10 == 0:
                self.assertEqual(self.archive(), 0)
                self.assertEqual(self.check(at), [])
                self.assertEqual(self.messages(), self.mbox)
                self.assertFalse(os.path.exists(self.path(PREVIOUS)))
        self.assertGreater(sum(map(bool, left)), KILLS // 4, "hardly any was killed while it had a temporary")
        self.assertLessEqual({"Support", "Support/Images", "Preferences"}, set().union(*left))

    def test_a_disk_may_fill_at_any_moment(self):
        _, size = self.counted()
        for number in range(24):
            room = number * size // 24
            for error in (errno.ENOSPC, errno.EDQUOT):
                self.restore()
                code = self.archive(f"full:{room}:{error}")
                self.assertEqual(self.check(room), [])
                self.assertEqual(code, 0 if self.messages() == self.mbox else 1)
                self.assertTrue(self.messages() == b"" or self.messages().endswith(b"--\n\n"))
                self.assertTrue(all(message in self.mbox for message in self.messages().split(b"From sam")))

    def counts_in(self, folder):
        """How many chats, files and links the stores in a folder hold."""
        held = []
        for name in reversed(STORES):
            if not os.path.exists(os.path.join(folder, name)):
                held.append(0)
                continue
            with open(os.path.join(folder, name), "rb") as file:
                store = plistlib.load(file)
            lists = [value for speaker in store for value in speaker.values() if isinstance(value, list)] if name != STORES[2] else []
            held.append(sum(map(len, lists)) if name != STORES[2] else store["chatcount"])
        return held

    def chats_in(self, path):
        return len(re.findall(rb"(?m)^From sam@", self.messages(path))) if os.path.exists(self.path(path)) else None

    def pages_in(self, folder):
        """The names of the pages in a folder, which are whole."""
        names = {name for name in os.listdir(folder) if name.endswith(".html") and not temporaries([name])}
        for name in names:
            with open(os.path.join(folder, name), "rb") as file:
                self.assertTrue(file.read().endswith(ENDS), name)
        return names

    def test_archiving_again(self):
        """What a second run leaves, however it ends, and what a third one then makes of that."""
        calls, size = self.counted()
        support, pristine = self.path(SUPPORT), self.path("pristine")
        once, pages, images = self.counts_in(pristine), self.pages_in(pristine), tree(os.path.join(pristine, "Images"))
        images = {name: value for name, value in images.items() if not name.startswith("topimages")}
        added = self.path(TRANSCRIPTS, "Gus on 2005-04-02 at 09.12.chat")
        endings = ["whole", "added", *(f"{kind}:{1 + number * calls // 12}" for kind in ("kill", "interrupt") for number in range(12)),
                   *(f"full:{number * size // 8}" for number in range(8))]
        reached = {}
        for options in ([], ["--fresh"]):
            for ending in endings:
                what = (ending, *options)
                self.restore()
                if ending == "added":
                    shutil.copy2(os.path.join(SAMPLES, "chats", os.path.basename(added)), added)
                total = len(os.listdir(self.path(TRANSCRIPTS)))
                code, printed = self.run_with(ending if ":" in ending else None, "archive", *options, self.path("Out"))
                archived, previous = self.chats_in(MBOX), self.chats_in(PREVIOUS)

                # The mbox: the new one, or else the one before.
                if ending.startswith("kill"):
                    self.assertEqual(code, -signal.SIGKILL, what)
                    self.assertIn((previous, archived == total), ((len(CHATS), False), (len(CHATS), True), (None, True)), what)
                elif ending.startswith("full"):
                    self.assertEqual((code, previous), (0, None) if archived == total else (1, len(CHATS)), what)
                else:
                    self.assertEqual((code, previous), (0, None) if archived == total else (128 + signal.SIGINT, len(CHATS)), what)
                if code == 128 + signal.SIGINT:
                    self.assertIn(f"Interrupted: {archived} of {total} chats are in ".encode(), printed, what)

                # The stores: the earlier ones, here or aside, and what was folded in.
                asides = [os.path.join(support, name) for name in os.listdir(support) if name.startswith("Set aside")]
                moved = {name for aside in asides for name in os.listdir(aside) if name in STORES}
                for aside in asides:
                    self.assertLessEqual({name: value for name, value in tree(aside).items() if name in STORES}.items(),
                                         tree(pristine).items(), what)
                    self.pages_in(aside)
                counts = self.counts_in(support)
                before = [0 if name in moved else count for name, count in zip(reversed(STORES), once)]
                self.assertTrue(all(low <= count for low, count in zip(before, counts)), what)
                if ending.split(":")[0] not in ("kill", "full"):
                    self.assertEqual(bool(asides), bool(options), what)
                    self.assertEqual(counts[0], before[0] + archived, what)
                if ending == "whole":
                    self.assertEqual(counts, [low + count for low, count in zip(before, once)], what)
                if ending in ("whole", "added"):
                    self.assertEqual(b"4 of these chats were counted before" in printed, not options, what)

                # The pages and the saved files.
                if code == 0 and not ending.startswith("full"):
                    self.assertLessEqual(pages, self.pages_in(support), what)
                self.assertLessEqual(images.items(), tree(os.path.join(support, "Images")).items(), what)
                for aside in asides if code != -signal.SIGKILL else ():
                    self.assertTrue(os.path.samefile(os.path.join(aside, "Images"), os.path.join(support, "Images")), what)

                self.assertEqual(self.archive(None, *options), 0, what)
                self.assertEqual((self.chats_in(MBOX), self.chats_in(PREVIOUS)), (total, None), what)
                self.assertEqual(self.counts_in(support)[0], total if options else counts[0] + total, what)
                self.assertEqual(temporaries(tree(support)), [], what)
                reached.setdefault((ending.split(":")[0], code), set()).add(archived)
                if ending == "added":
                    os.unlink(added)
                    self.assertEqual(self.archive(), 0)
        self.assertGreater(len(reached["interrupt", 130]), 1)
        self.assertGreater(len(reached["kill", -signal.SIGKILL]), 2)

    def test_a_support_folder_that_is_locked_stays_as_it_is(self):
        before = tree(self.path(SUPPORT))
        self.assertEqual(self.archive("locked:" + self.path(SUPPORT)), 0)
        self.assertEqual(tree(self.path(SUPPORT)), before)
        self.assertEqual(self.messages(), self.mbox)
        with open(self.path(PREFERENCES), "rb") as file:
            self.assertEqual(plistlib.load(file)["reportThis"], "permissions")
        self.assertEqual(self.archive("locked:" + self.path("Out")), 1)

    def test_links_in_the_place_of_files_are_replaced_and_not_followed(self):
        written = [os.path.join(SUPPORT, name) for name in self.whole if "/" not in name.removeprefix("Images/")]
        written = [name for name in written if not re.search(r"template\.html$|(curses|netspeak)\.plist$|Images$", name)]
        self.assertGreater(len(written), 12)
        written += [PREFERENCES, MBOX]
        self.prefer(forceUniqueSubjects=True)
        for is_dangling in (False, True):
            shutil.rmtree(self.path("elsewhere"), ignore_errors=True)
            for number, name in enumerate(written):
                target = self.path("elsewhere", str(number))
                os.makedirs(os.path.dirname(target), exist_ok=True)
                os.rename(self.path(name), target)
                os.symlink(target, self.path(name))
            if is_dangling:
                shutil.rmtree(self.path("elsewhere"))
                os.makedirs(self.path("elsewhere"))
                self.write(PREFERENCES, plistlib.dumps({"forceUniqueSubjects": True}))
            before = tree(self.path("elsewhere"))
            self.assertEqual(self.archive(), 0)
            self.assertEqual(tree(self.path("elsewhere")), before)
            for name in written:
                self.assertFalse(os.path.islink(self.path(name)), name)

    def test_folders_that_cannot_be_listed_are_named(self):
        folder = self.path(TRANSCRIPTS, "Deep")
        os.mkdir(folder)
        os.mkdir(self.path("other"))
        for number, name in enumerate(CHATS):
            shutil.copy2(os.path.join(SAMPLES, "chats", name), os.path.join(folder, f"{number} {name}"))
        for mode, prefix, fault, reason in ((0o000, ORDINARY, None, "Permission denied"), (0o444, ORDINARY, None, "Permission denied"),
                                            (0o755, (), "listed:" + folder, "Input/output error")):
            os.chmod(folder, mode)
            for arguments, told in ((("archive", self.path("Out")), "1 folder could not be read."), (("check",), "1 folder could not be read."),
                                    (("--home", self.path("other"), "setup", self.path(TRANSCRIPTS)), "Could not be read: ")):
                code, printed = self.run_with(fault, *arguments, prefix=prefix)
                self.assertEqual(code, 1, printed)
                self.assertIn(told, printed.decode())
                self.assertIn(f"{folder}: {reason}\n", printed.decode())
            os.chmod(folder, 0o755)

    def test_two_runs_at_once_leave_whole_files(self):
        for _ in range(5):
            self.restore()
            both = [subprocess.Popen([PRATTLEBUG, "archive", "--quiet", self.path(output)], env=self.environment,
                                     stdout=subprocess.DEVNULL, umask=0o077) for output in ("Out", "Other")]
            self.assertEqual([run.wait(60) for run in both], [0, 0])
            self.assertEqual(self.check("two at once"), [])
            self.assertEqual(self.messages(), self.mbox)
            self.assertEqual(self.messages("Other/Prattlebug Archive mbox"), self.mbox)


main()
