"""What a transcript holds, for whoever wants to try a reader on it."""

import json
from urllib.parse import urljoin

import styles
from filewrapper import File
from model import Attachment, String, Url


def contents(transcript):
    return {
        "messages": [message_contents(message) for message in transcript.messages],
        "participants": [speaker.presentity.identifier.text for speaker in transcript.participants],
    }


def message_contents(message):
    text = message.text.string.text if message.text else None
    status = message.sender is None or not text
    return {
        "raw": message.sender.identifier.text if message.sender else None,
        "service": message.sender.service.text if message.sender else None,
        "time": message.time.unix_seconds if message.time else None,
        "text": text,
        "status": status,
        "files": [] if status else files(message.text),
        "links": [] if status else links(message.text),
    }


def values(text, attribute):
    """The values of an attribute along the runs; one that was the last seen is not given again."""
    last = None
    for _, attributes in text.runs:
        value = dict(attributes.pairs).get(attribute)
        if value is not None and value is not last:
            yield value
            last = value


def links(text):
    return [link for link in map(link_text, values(text, styles.LINK)) if link is not None]


def link_text(value):
    if isinstance(value, String):
        return value.text
    return absolute(value) if isinstance(value, Url) else None


def absolute(url):
    return urljoin(absolute(url.base), url.relative.text) if url.base else url.relative.text


def files(text):
    """Name and byte count; a folder has no bytes of its own: null."""
    wrappers = [value.wrapper for value in values(text, styles.ATTACHMENT) if isinstance(value, Attachment)]
    items = [wrapper.item for wrapper in wrappers if wrapper]
    return [[item.name, len(item.contents) if isinstance(item, File) else None] for item in items]


def json_text(transcript):
    """One message a line. A byte-order mark is escaped: some readers drop it where they find it plain."""
    held = contents(transcript)
    messages = ",\n".join(" " + compact(message) for message in held["messages"])
    lines = f'{{"messages": [\n{messages}\n],\n"participants": {compact(held["participants"])}}}\n'
    return lines.replace("\ufeff", "\\ufeff").replace("[\n\n]", "[]")


def compact(value):
    return json.dumps(value, ensure_ascii=False)
