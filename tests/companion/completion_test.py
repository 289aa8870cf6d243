"""The completions, each in its own shell, and the manual page, against what the commands' help says there is."""

import os
import re
import shlex
import sys

from companion import PRATTLEBUG, CompanionTest, main

FOLDER = sys.argv[3]  # of the completions and the manual page, as they are installed
EVERYWHERE = {"--help", "--home", "--quiet", "--verbose"}

# zsh and fish are given lines in $LINES_TO_COMPLETE, and write into $OFFERED each line behind "> ", and below it what they
# offer for its last word. bash has the lines typed, and writes each with all that it offers in place of the last word.
ZSH = """
fpath=($FOLDER $fpath)
autoload -Uz compinit && compinit -D -u
compadd() {
    if [[ " $* " != *" -"[OAD]" "* ]]; then
        local -a offered
        builtin compadd -O offered "$@"
        print -rl -- $offered >>$OFFERED
    fi
    builtin compadd "$@"
}
zle-line-init() {
    for BUFFER in "${(@f)LINES_TO_COMPLETE}"; do
        print -r -- "> $BUFFER" >>$OFFERED
        CURSOR=$#BUFFER
        zle list-choices
    done
    exit
}
zle -N zle-line-init
"""
BASH = """
source "$FOLDER/prattlebug.bash"
unset HISTFILE
bind '"\\C-xi": insert-completions'
bind -x '"\\C-xo": printf "%s\\n" "$READLINE_LINE" >>"$OFFERED"'
PS1="ready> "
"""
FISH = """
source $FOLDER/prattlebug.fish
for line in (string split \\n -- $LINES_TO_COMPLETE)
    echo "> $line"
    complete -C $line
end >$OFFERED
"""


class Completion(CompanionTest):
    def setUp(self):
        super().setUp()
        listed = self.run_companion("--help")[0].split("Subcommands:\n")[1].split("\n\n")[0]
        self.add_samples()
        self.run_companion("index")
        self.environment["PATH"] = os.path.dirname(os.path.abspath(PRATTLEBUG)) + ":" + os.environ["PATH"]
        self.commands = re.findall(r"(?m)^  ([a-z-]+)", listed)
        self.options = {command: set(re.findall(r"(?m)^  (?:-\w,)?(--[a-z-]+)", self.run_companion(command, "--help")[0])) - {"--help"}
                        for command in self.commands}

    def lines(self):
        """What has to be offered for the last word of each line."""
        keys = {line.split(":")[0] for line in self.run_companion("prefs")[0].splitlines()}
        mail_keys = {key for key in keys if key.startswith("email")}
        self.write("cards/a b.vcf", b"")
        expected = {
            "prattlebug ": set(self.commands), "prattlebug prefs ": keys,
            "prattlebug prefs email": mail_keys, "prattlebug prefs --delete email": mail_keys,
            "prattlebug help sh": {"show"}, "prattlebug show --as h": {"html"},
            "prattlebug search --from Tom": {"Tomás Novák"}, "prattlebug -q list --with KIML": {"kimlee77"},
            f"prattlebug --home {self.path('none')} search --from ": set(),
            f"prattlebug setup --me {self.path('cards')}/": {"a b.vcf"},
        }
        for command, options in self.options.items():
            for before in ("", "--home x ", "-q "):
                expected[f"prattlebug {before}{command} --"] = options | EVERYWHERE
        return expected

    def test_manual_page(self):
        with open(os.path.join(FOLDER, "prattlebug.1"), encoding="utf-8") as file:
            text = re.sub(r"\\f.", "", file.read().replace("\\-", "-"))
        for name in [*self.commands, *set().union(*self.options.values())]:
            self.assertRegex(text, rf"(?m)(^|[ \[.]){name}\b")
        self.assertLessEqual(set(re.findall(r"--[a-z-]+", text)), set().union(EVERYWHERE, {"--version"}, *self.options.values()))

    def complete(self, settings, program, *arguments, typed=b""):
        """What the shell has written."""
        self.environment.update(FOLDER=FOLDER, OFFERED=self.path("offered"), LINES_TO_COMPLETE="\n".join(self.lines()),
                                ZDOTDIR=self.home)
        self.write(".zshrc", settings.encode())  # bash is told to read it, too
        code, shown = self.run_in_terminal(program, *arguments, typed=typed, prompt=b"ready> ")
        self.assertEqual(code, 0, shown)
        with open(self.path("offered"), encoding="utf-8") as file:
            return file.read()

    def check(self, offered):
        for line, expected in self.lines().items():
            choices = {os.path.basename(choice.replace("\\", "")) for choice in offered.get(line, ())}
            if not line.endswith("--"):  # options may be offered beside words
                choices = {choice for choice in choices if not choice.startswith("--")}
            self.assertEqual(choices, expected, line)

    def check_listing(self, listing):
        parts = [part.splitlines() for part in listing.split("> ")[1:]]
        self.check({line: [choice.split("\t")[0] for choice in choices if choice] for line, *choices in parts})

    def test_zsh(self):
        self.check_listing(self.complete(ZSH, "zsh", "-i"))

    def test_fish(self):
        self.check_listing(self.complete("", "fish", "--no-config", "-c", FISH))

    def test_bash(self):
        typed = "".join(line + ("\t" if line.endswith("/") else "\x18i") + "\x18o\x15" for line in self.lines())
        written = self.complete(BASH, "bash", "--rcfile", self.path(".zshrc"), "-i", typed=typed.encode() + b"exit\n")
        self.check({line: shlex.split(completed[line.rindex(" ") + 1:])
                    for line, completed in zip(self.lines(), written.splitlines())})


main()
