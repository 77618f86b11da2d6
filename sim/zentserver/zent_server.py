"""The management server's stand-in: plain HTTP on 127.0.0.1, a port chosen
at start. It records every message the transport posts to it, answers
heartbeats from a script of replies and client responses with
acknowledgements, and has a small control interface.

In a test:

    server = ZentServer().start()
    server.script_heartbeats(client_request(xml, rapid=5000), ack(0))
    ... server.messages("HeartBeat") ...
    server.stop()

From a shell (the demo, or by hand):

    python3 zent_server.py [--port N]     prints "listening on 127.0.0.1:PORT"

and, on the same port:

    POST /control/heartbeat-replies   a JSON list of replies (see Reply.from_json), queued
    POST /control/acks                a JSON list of acknowledgement values, queued
    GET  /control/messages            every message so far, as JSON
    POST /control/reset               empties the records and the scripts

`DirectListener` is the test server of the agent's direct HTTP path (pipe
command 102): a raw TCP listener that parses nothing. It records each
connection's bytes as they came, up to the agent's shutdown of its send side,
answers from a script of raw replies and closes. In a test:

    listener = DirectListener().start()
    listener.script(RawReply(http_reply(json_text)), RawReply(end="reset"))
    ... listener.wait_for(1)[0].received ...
    listener.stop()

From a shell:

    python3 zent_server.py --direct [--port N] [--control-port M]
        prints "listening on 127.0.0.1:PORT, control on 127.0.0.1:CONTROL"

with the control on its own port, since the listener's port reads no HTTP:

    POST /control/replies             a JSON list of raw replies (see RawReply.from_json), queued
    GET  /control/connections         every connection so far, as JSON
    POST /control/reset               empties the records and the script
"""
import argparse
import fcntl
import json
import re
import socket
import struct
import termios
import threading
import time
import urllib.parse
from dataclasses import dataclass, field
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

COMMAND_PATH = "/brevon_zent/command"


@dataclass
class Reply:
    """One answer: a body, an HTTP status, and a pause before it is sent."""
    body: bytes = b""
    status: int = 200
    delay: float = 0.0

    @staticmethod
    def from_json(item):
        """{"json": value} | {"text": "..."} | {"hex": "..."} | {"filler": bytes}, with
        optional "status" and "delay" (seconds)."""
        if "json" in item:
            body = json.dumps(item["json"]).encode()
        elif "hex" in item:
            body = bytes.fromhex(item["hex"])
        elif "filler" in item:
            body = filler(item["filler"]).body
        else:
            body = item.get("text", "").encode()
        return Reply(body, item.get("status", 200), item.get("delay", 0.0))


def json_reply(value, **kw):
    return Reply(json.dumps(value).encode(), **kw)


def ack(value=0, **kw):
    """The server's acknowledgement."""
    return json_reply({"name": "errorCode", "value": value}, **kw)


def client_request(request, client_uid="zent-e2e", rapid=None, info=None, **kw):
    """A heartbeat's reply carrying a multi-command document."""
    value = {"name": "ClientRequest", "clientUID": client_uid, "request": request}
    if rapid is not None:
        value["rapidHeartbeat"] = rapid
    if info is not None:
        value["info"] = info
    return json_reply(value, **kw)


def raw(body, **kw):
    """Bytes as they stand: malformed JSON, garbage, nothing at all."""
    return Reply(body if isinstance(body, bytes) else body.encode(), **kw)


def filler(size, **kw):
    """A body of `size` bytes that is no JSON."""
    pattern = b"zent-stand-in-filler "
    return Reply((pattern * (size // len(pattern) + 1))[:size], **kw)


@dataclass
class Message:
    """One request the transport posted."""
    path: str
    description: bytes  # as the transport received it from the agent
    body: bytes
    received: float     # time.monotonic()
    answer: bytes = b""
    name: str = ""      # the message's "name", when its body says

    def json(self):
        """The body as JSON. Bytes that are not UTF-8 (a query's answer can
        hold such bytes) come back as lone surrogates; `as_bytes` restores
        them."""
        return json.loads(self.body.decode("utf-8", "surrogateescape"))

    def response_content(self):
        """A ClientResponse's document, byte for byte as the agent sent it."""
        return as_bytes(self.json()["response"]["content"])

    def to_json(self):
        return {"path": self.path, "description": self.description.decode("latin-1"),
                "body": self.body.decode("latin-1"), "received": self.received,
                "answer": self.answer.decode("latin-1"), "name": self.name}


def as_bytes(text):
    """A string of the body back to the bytes the agent sent."""
    return text.encode("utf-8", "surrogateescape")


# The front of every message the agent writes, compact or pretty-printed.
MESSAGE_FRONT = re.compile(rb'\{\s*"name": "([A-Za-z]+)"')


def message_name(body):
    try:
        value = json.loads(body)
        return value.get("name", "") if isinstance(value, dict) else ""
    except ValueError:
        # A heartbeat whose policy label holds a quote is no JSON, nor is a
        # client response whose answer holds bytes that are not UTF-8; the
        # name still stands at the front.
        front = MESSAGE_FRONT.match(body)
        return front.group(1).decode() if front else ""


@dataclass
class ServerState:
    messages: list = field(default_factory=list)
    heartbeat_replies: list = field(default_factory=list)
    acks: list = field(default_factory=list)
    lock: threading.Condition = field(default_factory=threading.Condition)


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *args):
        pass

    def do_GET(self):
        if self.path == "/control/messages":
            with self.server.state.lock:
                body = json.dumps([m.to_json() for m in self.server.state.messages])
            return self.answer(Reply(body.encode()))
        self.answer(Reply(b"not found", 404))

    def do_POST(self):
        length = int(self.headers.get("Content-Length", "0"))
        body = self.rfile.read(length)
        state = self.server.state
        if self.path.startswith("/control/"):
            return self.control(self.path[len("/control/"):], body)
        description = urllib.parse.unquote_to_bytes(self.headers.get("X-HvSock-Description", ""))
        message = Message(self.path, description, body, time.monotonic(), name=message_name(body))
        with state.lock:
            if self.path != COMMAND_PATH:
                reply = Reply(b"not found", 404)
            elif message.name == "ClientResponse":
                reply = ack(state.acks.pop(0) if state.acks else 0)
            else:
                reply = state.heartbeat_replies.pop(0) if state.heartbeat_replies else ack(0)
            message.answer = reply.body
            state.messages.append(message)
            state.lock.notify_all()
        if reply.delay:
            time.sleep(reply.delay)
        self.answer(reply)

    def control(self, what, body):
        state = self.server.state
        with state.lock:
            if what == "heartbeat-replies":
                state.heartbeat_replies += [Reply.from_json(item) for item in json.loads(body)]
            elif what == "acks":
                state.acks += list(json.loads(body))
            elif what == "reset":
                state.messages.clear()
                state.heartbeat_replies.clear()
                state.acks.clear()
            else:
                return self.answer(Reply(b"unknown control", 404))
        self.answer(Reply(b"{}"))

    def answer(self, reply):
        try:
            self.send_response(reply.status)
            self.send_header("Content-Type", "application/json")
            self.send_header("Content-Length", str(len(reply.body)))
            self.send_header("Connection", "close")
            self.end_headers()
            self.wfile.write(reply.body)
        except OSError:
            pass  # the transport gave up waiting
        self.close_connection = True


class ZentServer:
    def __init__(self, port=0):
        self.httpd = ThreadingHTTPServer(("127.0.0.1", port), Handler)
        self.httpd.daemon_threads = True
        self.httpd.state = ServerState()
        self.thread = None

    @property
    def state(self):
        return self.httpd.state

    @property
    def address(self):
        host, port = self.httpd.server_address[:2]
        return f"{host}:{port}"

    def start(self):
        self.thread = threading.Thread(target=self.httpd.serve_forever, daemon=True)
        self.thread.start()
        return self

    def stop(self):
        self.httpd.shutdown()
        self.httpd.server_close()

    def script_heartbeats(self, *replies):
        with self.state.lock:
            self.state.heartbeat_replies += replies

    def script_acks(self, *values):
        with self.state.lock:
            self.state.acks += values

    def messages(self, name=None):
        with self.state.lock:
            return [m for m in self.state.messages if name is None or m.name == name]

    def wait_for(self, count, name=None, timeout=30):
        """The first `count` messages (of that name), once they have come."""
        deadline = time.monotonic() + timeout
        with self.state.lock:
            while True:
                found = [m for m in self.state.messages if name is None or m.name == name]
                if len(found) >= count:
                    return found[:count]
                left = deadline - time.monotonic()
                if left <= 0:
                    raise AssertionError(f"{len(found)} of {count} {name or ''} messages after {timeout} s")
                self.state.lock.wait(left)


# --- the direct path's raw listener ---------------------------------------------------------------

# How a raw reply ends, once its pieces are sent.
ENDS = ("close", "reset", "open", "never-read")


@dataclass
class RawReply:
    """One connection's answer: after `delay` seconds, the bytes in pieces of
    the sizes in `pieces` (the rest in one), `gap` seconds apart; then
    `end`: "close", "reset" (an RST), "open" (no close, for `hold` seconds or
    until the listener stops), or "never-read" (the request is not read and
    nothing is sent; the connection stays for `hold` seconds). With
    `then_refuse` the listener closes its port before this connection ends,
    so that the next connect is refused."""
    data: bytes = b""
    delay: float = 0.0
    pieces: list = field(default_factory=list)
    gap: float = 0.0
    end: str = "close"
    hold: float = None
    filler: int = 0  # bytes of filler sent behind data, made as they go
    then_refuse: bool = False

    def __post_init__(self):
        if self.end not in ENDS:
            raise ValueError(f"end is one of {ENDS}, not {self.end!r}")

    @staticmethod
    def from_json(item):
        """{"text": "..."} | {"hex": "..."} | {"json": value} (sent as an HTTP
        200 reply carrying the JSON text), with optional "filler" (a count of
        bytes), "delay", "pieces", "gap", "end", "hold" and "then_refuse"."""
        if "json" in item:
            data = http_reply(json.dumps(item["json"]).encode())
        elif "hex" in item:
            data = bytes.fromhex(item["hex"])
        else:
            data = item.get("text", "").encode("latin-1")
        return RawReply(data, item.get("delay", 0.0), list(item.get("pieces", [])), item.get("gap", 0.0),
                        item.get("end", "close"), item.get("hold"), item.get("filler", 0),
                        item.get("then_refuse", False))


def _unacknowledged(conn):
    """Bytes sent on conn that its peer has not acknowledged yet (Linux's
    SIOCOUTQ)."""
    return struct.unpack("i", fcntl.ioctl(conn.fileno(), termios.TIOCOUTQ, b"\0\0\0\0"))[0]


def http_reply(body, status="200 OK"):
    """Bytes of a plain HTTP reply carrying `body`."""
    body = body if isinstance(body, bytes) else body.encode()
    return (f"HTTP/1.1 {status}\r\nContent-Type: application/json\r\nContent-Length: {len(body)}\r\n"
            f"Connection: close\r\n\r\n").encode() + body


@dataclass
class Connection:
    """One connection as the listener saw it."""
    chunks: list = field(default_factory=list)  # bytes of each recv, as they came
    shut: bool = False     # the peer shut its send side down
    sent: int = 0          # bytes of the reply that went out
    send_error: str = ""   # why sending stopped early, if it did
    done: bool = False     # the listener is through with it

    @property
    def received(self):
        return b"".join(self.chunks)

    def to_json(self):
        return {"received": self.received.decode("latin-1"), "chunks": len(self.chunks), "shut": self.shut,
                "sent": self.sent, "send_error": self.send_error, "done": self.done}


class DirectListener:
    # A peer that keeps its send side open is waited for no longer than this.
    READ_LIMIT = 120

    def __init__(self, port=0):
        self.sock = socket.create_server(("127.0.0.1", port))
        self.replies = []
        self.connections = []
        self.lock = threading.Condition()
        self.stopping = threading.Event()
        self.thread = None
        self.control = None

    @property
    def port(self):
        return self.sock.getsockname()[1]

    @property
    def address(self):
        return f"127.0.0.1:{self.port}"

    def start(self):
        self.thread = threading.Thread(target=self.accept_loop, daemon=True)
        self.thread.start()
        return self

    def stop(self):
        self.stopping.set()
        self.close_port()
        if self.control is not None:
            self.control.shutdown()
            self.control.server_close()

    def close_port(self):
        # A close alone would leave the port listening while accept() waits
        # on it in the other thread.
        try:
            self.sock.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        self.sock.close()

    def script(self, *replies):
        with self.lock:
            self.replies += replies

    def reset(self):
        with self.lock:
            self.replies.clear()
            self.connections.clear()

    def wait_for(self, count, timeout=90):
        """The first `count` connections, once the listener is through with
        them."""
        deadline = time.monotonic() + timeout
        with self.lock:
            while True:
                done = [c for c in self.connections if c.done]
                if len(done) >= count and all(c.done for c in self.connections[:count]):
                    return self.connections[:count]
                left = deadline - time.monotonic()
                if left <= 0:
                    raise AssertionError(f"{len(done)} of {count} connections done after {timeout} s")
                self.lock.wait(left)

    def accept_loop(self):
        while not self.stopping.is_set():
            try:
                conn, _ = self.sock.accept()
            except OSError:
                return
            record = Connection()
            with self.lock:
                reply = self.replies.pop(0) if self.replies else RawReply()
                self.connections.append(record)
            threading.Thread(target=self.serve, args=(conn, record, reply), daemon=True).start()

    def serve(self, conn, record, reply):
        try:
            if reply.end == "never-read":
                self.hold(reply)
                return
            self.read_request(conn, record)
            if reply.delay:
                time.sleep(reply.delay)
            self.send_reply(conn, record, reply)
            if reply.then_refuse:
                self.close_port()
            if reply.end == "reset":
                self.wait_until_taken(conn)
                # SO_LINGER with a zero time-out: the close sends an RST.
                conn.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            elif reply.end == "open":
                self.hold(reply)
        finally:
            conn.close()
            with self.lock:
                record.done = True
                self.lock.notify_all()

    # An RST that arrives before the peer has read what came ahead of it
    # throws those bytes away (on Windows, and under Wine), so a reset after
    # a whole reply waits until the peer's system has acknowledged every
    # byte, then gives the peer this long to read them.
    RESET_PAUSE = 1.0

    def wait_until_taken(self, conn):
        deadline = time.monotonic() + self.READ_LIMIT
        while _unacknowledged(conn) > 0 and time.monotonic() < deadline:
            time.sleep(0.01)
        time.sleep(self.RESET_PAUSE)

    def hold(self, reply):
        self.stopping.wait(reply.hold)

    def read_request(self, conn, record):
        conn.settimeout(self.READ_LIMIT)
        while True:
            try:
                chunk = conn.recv(65536)
            except OSError:
                return
            if not chunk:
                record.shut = True
                return
            with self.lock:
                record.chunks.append(chunk)

    def send_reply(self, conn, record, reply):
        try:
            cuts = []
            offset = 0
            for size in reply.pieces:
                cuts.append(reply.data[offset:offset + size])
                offset += size
            cuts.append(reply.data[offset:])
            for i, piece in enumerate(cuts):
                if i and reply.gap:
                    time.sleep(reply.gap)
                conn.sendall(piece)
                record.sent += len(piece)
            pattern = b"zent-stand-in-filler "
            block = pattern * (1048576 // len(pattern) + 1)
            left = reply.filler
            while left > 0:
                piece = block[:min(left, 1048576)]
                conn.sendall(piece)
                record.sent += len(piece)
                left -= len(piece)
        except OSError as error:
            record.send_error = str(error)

    def serve_control(self, port=0):
        """The control interface on a port of its own."""
        listener = self

        class Control(BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def log_message(self, *args):
                pass

            def do_GET(self):
                if self.path == "/control/connections":
                    with listener.lock:
                        body = json.dumps([c.to_json() for c in listener.connections])
                    return self.answer(200, body.encode())
                self.answer(404, b"not found")

            def do_POST(self):
                body = self.rfile.read(int(self.headers.get("Content-Length", "0")))
                if self.path == "/control/replies":
                    listener.script(*[RawReply.from_json(item) for item in json.loads(body)])
                elif self.path == "/control/reset":
                    listener.reset()
                else:
                    return self.answer(404, b"unknown control")
                self.answer(200, b"{}")

            def answer(self, status, body):
                self.send_response(status)
                self.send_header("Content-Length", str(len(body)))
                self.send_header("Connection", "close")
                self.end_headers()
                self.wfile.write(body)
                self.close_connection = True

        self.control = ThreadingHTTPServer(("127.0.0.1", port), Control)
        self.control.daemon_threads = True
        threading.Thread(target=self.control.serve_forever, daemon=True).start()
        return self.control.server_address[1]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--direct", action="store_true", help="the direct path's raw listener")
    parser.add_argument("--control-port", type=int, default=0)
    args = parser.parse_args()
    if args.direct:
        listener = DirectListener(args.port).start()
        control = listener.serve_control(args.control_port)
        print(f"listening on {listener.address}, control on 127.0.0.1:{control}", flush=True)
        try:
            listener.thread.join()
        except KeyboardInterrupt:
            pass
        return
    server = ZentServer(args.port)
    print(f"listening on {server.address}", flush=True)
    try:
        server.httpd.serve_forever()
    except KeyboardInterrupt:
        pass


if __name__ == "__main__":
    main()
