"""Mail servers on the loopback, for the tests of sending: aiosmtpd, and a bare socket that does as it is told."""

import asyncio
import contextlib
import logging
import select
import socket
import threading
import warnings

from aiosmtpd.smtp import SMTP, AuthResult

logging.getLogger("mail.log").setLevel(logging.ERROR)  # it warns of what the tests are about


class Handler:
    """Keeps what is handed in. The answer to a command can be set; an answer that is no text is called instead."""

    def __init__(self, answers):
        self.answers = answers
        self.received = []  # envelopes
        self.logins = []    # mechanism, name and password
        self.encrypted = []  # for each envelope, whether it came over an encrypted connection

    async def answer(self, command, server, usual):
        answer = self.answers.get(command, usual)
        return answer if isinstance(answer, str) else await answer(server)

    async def handle_MAIL(self, server, session, envelope, address, options):
        envelope.mail_from = address
        return await self.answer("MAIL", server, "250 OK")

    async def handle_RCPT(self, server, session, envelope, address, options):
        envelope.rcpt_tos.append(address)
        return await self.answer("RCPT", server, "250 OK")

    async def handle_DATA(self, server, session, envelope):
        answer = await self.answer("DATA", server, "250 OK")
        if answer.startswith("250"):
            self.received.append(envelope)
            self.encrypted.append(session.ssl is not None)
        return answer


async def hang_up(server):
    server.transport.abort()
    return "451 Nobody hears this"


async def say_nothing(server):
    await asyncio.sleep(3600)  # cut short when the server stops


def last_words(reply):
    """Says this, and closes the connection in the same segment."""
    async def answer(server):
        server.transport.get_extra_info("socket").setsockopt(socket.IPPROTO_TCP, socket.TCP_CORK, 1)
        server.transport.write(reply.encode() + b"\r\n")
        server.transport.close()
        return reply
    return answer


@contextlib.contextmanager
def mail_server(answers=None, login=None, **settings):
    """aiosmtpd on a port that the system chooses. Yields its handler, with the port as its attribute.

    login is the name and password that it takes, as bytes; without one it offers no login.
    """
    handler = Handler(answers or {})
    if login:
        def authenticator(server, session, envelope, mechanism, data):
            handler.logins.append((mechanism, data.login, data.password))
            # What is not handled, the server answers by itself.
            return AuthResult(success=(data.login, data.password) == login, handled=False, message=handler.answers.get("AUTH"))
        settings.update(authenticator=authenticator, auth_required=True, auth_require_tls="tls_context" in settings)

    def protocol():
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")  # a login without encryption is what some tests are about
            return SMTP(handler, loop=loop, **settings)

    loop = asyncio.new_event_loop()
    started = threading.Event()

    def run():
        asyncio.set_event_loop(loop)
        server = loop.run_until_complete(
            loop.create_server(protocol, "127.0.0.1", 0))
        handler.port = server.sockets[0].getsockname()[1]
        started.set()
        loop.run_forever()
        server.close()
        for task in asyncio.all_tasks(loop):
            task.cancel()
        loop.run_until_complete(asyncio.sleep(0))
        loop.close()

    thread = threading.Thread(target=run)
    thread.start()
    try:
        if not started.wait(30):
            raise TimeoutError("the mail server does not start")
        yield handler
    finally:
        loop.call_soon_threadsafe(loop.stop)
        thread.join(30)


@contextlib.contextmanager
def bare_server(*replies, closes=False, waits=0):
    """Says the first reply to whoever connects, after so many seconds, and each further one when something has come; then
    listens on, or closes the connection in the segment of the last reply. Yields the port and what the client has said."""
    said = []

    def converse(connection):
        if select.select([connection], [], [], waits)[0]:
            said.append(connection.recv(1000))
        for number, reply in enumerate(replies):
            if number:
                said.append(connection.recv(1000))
            if closes and number == len(replies) - 1:
                connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_CORK, 1)
            connection.sendall(reply)
        while not closes and (data := connection.recv(1000)):
            said.append(data)

    with socket.create_server(("127.0.0.1", 0)) as listener:
        listener.settimeout(30)

        def run():
            with contextlib.suppress(OSError):
                connection, _ = listener.accept()
                with connection:
                    connection.settimeout(30)
                    converse(connection)

        thread = threading.Thread(target=run)
        thread.start()
        try:
            yield listener.getsockname()[1], said
        finally:
            with contextlib.suppress(OSError):
                listener.shutdown(socket.SHUT_RDWR)
            thread.join(60)


@contextlib.contextmanager
def unused_port():
    """A port that nobody listens on, kept so."""
    with socket.socket() as holder:
        holder.bind(("127.0.0.1", 0))
        yield holder.getsockname()[1]
