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
"""
import argparse
import json
import re
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


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--port", type=int, default=0)
    server = ZentServer(parser.parse_args().port)
    print(f"listening on {server.address}", flush=True)
    try:
        server.httpd.serve_forever()
    except KeyboardInterrupt:
        pass


if __name__ == "__main__":
    main()
