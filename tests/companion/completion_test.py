"""The completions of the three shells and the manual page, against what the commands' help says there is."""

import os
import re
import shutil
import subprocess

from companion import SAMPLES, CompanionTest, main

FOLDER = os.path.join(SAMPLES, "../resources/completions")
BASH, ZSH, FISH = (os.path.join(FOLDER, name) for name in ("prattlebug.bash", "_prattlebug", "prattlebug.fish"))


class Completion(CompanionTest):
    def setUp(self):
        super().setUp()
        listed = self.run_companion("--help")[0].split("Subcommands:\n")[1].split("\n\n")[0]
        self.commands = re.findall(r"(?m)^  ([a-z-]+)", listed)
        self.options = {command: set(re.findall(r"(?m)^  (?:-\w,)?(--[a-z-]+)", self.run_companion(command, "--help")[0])) - {"--help"}
                        for command in self.commands}
        self.keys = {line.split(":")[0] for line in self.run_companion("prefs")[0].splitlines()}

    def run_shell(self, *command):
        if not shutil.which(command[0]):
            self.skipTest(f"no {command[0]} here")
        result = subprocess.run(command, capture_output=True, text=True, env=self.environment, check=False)
        self.assertEqual(result.stderr, "")
        return set(result.stdout.split("\n")) - {""}

    def bash(self, *words):
        """What bash offers for the last of the words behind the program's name."""
        return self.run_shell("bash", "-c", 'source "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))\n'
                              '_prattlebug prattlebug "${@: -1}" "${@: -2:1}"; printf "%s\\n" "${COMPREPLY[@]}"',
                              BASH, "prattlebug", *words)

    def fish(self, line):
        offered = self.run_shell("fish", "--no-config", "-c", 'source $argv[1]; complete -C $argv[2]', FISH, line)
        return {choice.split("\t")[0] for choice in offered}

    def test_manual_page(self):
        with open(os.path.join(SAMPLES, "../docs/man/prattlebug.1"), encoding="utf-8") as file:
            text = re.sub(r"\\f.", "", file.read().replace("\\-", "-"))
        for name in [*self.commands, *set().union(*self.options.values())]:
            self.assertRegex(text, rf"(?m)(^|[ \[.]){name}\b")

    def test_bash(self):
        self.assertEqual(self.bash("") - {"--version"}, set(self.commands))
        for command, options in self.options.items():
            for before in ([], ["--home", "x"], ["-q"]):
                self.assertEqual(self.bash(*before, command, "--") - {"--home", "--quiet", "--verbose", "--help"}, options)
        self.assertEqual(self.bash("prefs", "email"), {key for key in self.keys if key.startswith("email")})
        self.assertEqual(self.bash("show", "--as", "h"), {"html"})
        self.write("a b.vcf", b"")
        self.assertEqual(self.bash("setup", "--me", self.path("a")), {self.path("a b.vcf")})

    def test_fish(self):
        self.assertEqual(self.fish("prattlebug "), set(self.commands))
        for command, options in self.options.items():
            everywhere = {"--home", "--quiet", "--verbose", "--help"}
            self.assertEqual({choice for choice in self.fish(f"prattlebug {command} --") if choice.startswith("--")} - everywhere, options)
        self.assertEqual(self.fish("prattlebug prefs email"), {key for key in self.keys if key.startswith("email")})
        self.assertEqual(self.fish("prattlebug show --as h"), {"html"})

    def test_zsh(self):
        self.run_shell("zsh", "-n", ZSH)
        with open(ZSH, encoding="utf-8") as file:
            text = file.read()
        self.assertEqual(re.findall(r"(?m)^        ['\"]([a-z-]+):", text), self.commands)
        for command, options in self.options.items():
            case = re.search(rf"(?m)^        (?:[a-z-]+ \| )*{command}(?: \| [a-z-]+)*\) ((?:.*\\\n)*.*);;", text)
            self.assertEqual(set(re.findall(r"'(--[a-z-]+)\[", case[1] if case else "")), options, command)
        self.assertEqual(set(re.findall(r"\b[a-z]+[A-Z]\w+", text.split("}")[0])), self.keys)


main()
