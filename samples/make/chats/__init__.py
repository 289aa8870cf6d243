"""The chats themselves, by friend."""

from chats import bob, groups, kim, network, quiet, tomas, zoe


def transcripts():
    """Made anew on every call."""
    return [make() for part in (kim, zoe, bob, tomas, groups, network, quiet) for make in part.TRANSCRIPTS]
