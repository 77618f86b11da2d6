"""The management server's stand-in (sim/zentserver), importable by the tests."""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "sim", "zentserver"))

from zent_server import (DirectListener, RawReply, ZentServer, ack, as_bytes, client_request, filler,  # noqa: E402,F401
                         http_reply, json_reply, raw)
