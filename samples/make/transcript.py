"""One chat on its way to a transcript file."""

import uuid
from dataclasses import dataclass

import model
from keyedobjects import keyed_archive
from model import Array, AttributedString, Date, Dictionary, InstantMessage, Number, Person, Presentity, String
from styles import Piece
from typedobjects import typed_archive

FLAGS_INCOMING = 1
FLAGS_OUTGOING = 5
FLAGS_STATUS = 13


@dataclass(frozen=True)
class Speaker:
    presentity: Presentity
    style: tuple
    local: bool = False

    @staticmethod
    def of(service, identifier, *style, local=False):
        return Speaker(Presentity(String(service), String(identifier)), style, local)


@dataclass(frozen=True)
class Typed:
    """The form of the first generation (typedobjects.py)."""

    byte_order: str = "big"
    later_groups: bool = False

    def data(self, transcript):
        return typed_archive(transcript.root(), self.byte_order, self.later_groups)


@dataclass(frozen=True)
class Keyed:
    """The form of the second generation (keyedobjects.py)."""

    form: str = "binary"
    metadata: bool = False

    def data(self, transcript):
        metadata = transcript.metadata() if self.metadata else None
        return keyed_archive(transcript.root(), self.form, metadata, transcript.login)


class Transcript:
    """@p path is the file's place below the folder of chats; @p begin a date and time with its offset from UTC.

    Messages have dictionaries of their own unless @p shared_dictionaries, where equal ones are one object.
    """

    def __init__(self, path, begin, form, service, participants, login="robinashby", shared_dictionaries=False):
        self.path = path
        self.form = form
        self.login = login
        self.participants = participants
        self.messages = []
        self._service = String(service)
        self._clock = Date.from_text(begin).unix_seconds
        self._shared_dictionaries = shared_dictionaries
        self._dictionaries = {}

    @property
    def last_time(self):
        return self._clock

    def say(self, speaker, pause, *pieces, timed=True):
        """@p pause is the time since the message before, in seconds. Pieces are plain strings or Pieces."""
        text = self._attributed(pieces, speaker.style, mutable=not speaker.local)
        flags = FLAGS_OUTGOING if speaker.local else FLAGS_INCOMING
        self._append(speaker.presentity, pause, text, flags, timed)

    def notice(self, pause, text):
        """A status message: nobody said it."""
        self._append(None, pause, self._attributed([text], (), mutable=True), FLAGS_STATUS)

    def silence(self, speaker, pause, has_text=True):
        """A status message of the other kind: a sender, but an empty text or none."""
        text = self._attributed([], (), mutable=False) if has_text else None
        self._append(speaker.presentity, pause, text, FLAGS_STATUS)

    def root(self):
        participants = [speaker.presentity for speaker in self.participants]
        return Array(
            [
                self._service,
                String(""),
                Array(self.messages, mutable=True),
                Array(participants, mutable=True),
                Array([Person(presentity.identifier) for presentity in participants]),
                String("", mutable=True),
                Number(len(self.messages)),
                Number(0.5, "d"),
            ],
            mutable=True,
        )

    def metadata(self):
        names = [speaker.presentity.identifier for speaker in self.participants]
        return Dictionary([(String("Participants"), Array(names)), (String("Service"), self._service)])

    def data(self):
        return self.form.data(self)

    def _append(self, sender, pause, text, flags, timed=True):
        self._clock += pause
        guid = uuid.uuid5(uuid.NAMESPACE_URL, f"{self.path}/{len(self.messages)}")
        time = Date.from_unix(self._clock) if timed else None
        self.messages.append(InstantMessage(sender, time, text, flags, String(str(guid).upper())))

    def _attributed(self, pieces, style, mutable):
        dictionaries = self._dictionaries if self._shared_dictionaries else {}
        runs = []
        text = ""
        for piece in pieces:
            if isinstance(piece, str):
                piece = Piece(piece, ())
            length = model.utf16_length(piece.text)
            attributes = attribute_dictionary(dict(style) | dict(piece.attributes), dictionaries)
            text += piece.text
            if runs and runs[-1][1] is attributes:
                runs[-1] = (runs[-1][0] + length, attributes)
            elif length:
                runs.append((length, attributes))
        return AttributedString(String(text, mutable), runs, mutable)


def attribute_dictionary(attributes, known):
    """The Dictionary of @p attributes: the one in @p known, where there is one with the very same values."""
    key = tuple((name.text, id(value)) for name, value in attributes.items())
    return known.setdefault(key, Dictionary(list(attributes.items())))
