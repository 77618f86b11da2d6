"""One exchange of the direct HTTP path, for the demo: the running agent
(TestMode on) is told by "zentctl send http 127.0.0.1:PORT:7" to post a
heartbeat over plain TCP to the direct path's test server, which runs as a
process of its own (sim/zentserver/zent_server.py --direct) and is scripted
through its control port. The server answers with a host metadata query; the
agent runs it and posts the result back on a second connection. Shown: each
request's bytes as the server received them, what it answered, and the
agent's reply to zentctl.

    direct_exchange(agent)          # agent: the demo's AgentHost

or, beside an agent already running with TestMode on:

    python3 scripts/demo_direct.py
"""
import json
import os
import subprocess
import sys
import urllib.request

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(here, "..", "tests", "e2e"))

from agent_host import AgentHost  # noqa: E402

SERVER = os.path.join(here, "..", "sim", "zentserver", "zent_server.py")
QUERY = """<Message>
  <Request cmd="GetHostMetaData">
    <RequestID>direct-demo</RequestID>
    <HostMetaDataQueries>
      <HostMetaDataQuery id="1" query="getFileInfo" arg1="C:\\ZentE2e\\ZentAgent.exe"/>
    </HostMetaDataQueries>
  </Request>
</Message>
"""


def show_bytes(data, indent=6):
    """Bytes as received, line ends made visible."""
    text = data.decode("latin-1").replace("\r", "\\r").replace("\n", "\\n\n")
    for line in text.rstrip("\n").split("\n"):
        print(" " * indent + line)


class DirectServer:
    """The test server as a separate process, driven through its control port."""

    def __enter__(self):
        self.process = subprocess.Popen([sys.executable, SERVER, "--direct"], stdout=subprocess.PIPE, text=True)
        # "listening on 127.0.0.1:PORT, control on 127.0.0.1:CONTROL"
        words = self.process.stdout.readline().split()
        self.address = words[2].rstrip(",")
        self.control = f"http://{words[5]}/control/"
        return self

    def __exit__(self, *exc):
        self.process.terminate()
        self.process.wait()

    def script(self, replies):
        request = urllib.request.Request(self.control + "replies", data=json.dumps(replies).encode())
        urllib.request.urlopen(request).read()

    def connections(self):
        with urllib.request.urlopen(self.control + "connections") as answer:
            return json.loads(answer.read())


def direct_exchange(agent):
    print()
    print("== The direct HTTP path (command 102, TestMode): a heartbeat over plain TCP to a test server")
    with DirectServer() as server:
        reply = {"name": "ClientRequest", "clientUID": "direct-demo", "request": QUERY}
        server.script([{"json": reply}, {"json": {"name": "errorCode", "value": 0}}])
        destination = f"{server.address}:7"
        print(f"    zentctl send http {destination} --request-id 7")
        done = agent.zentctl("send", "http", destination, "--request-id", "7", "--timeout", "60000")
        connections = server.connections()
    for number, (connection, what) in enumerate(zip(connections, ("the heartbeat", "the post-back")), 1):
        print(f"    connection {number}, {what}, as the server received it "
              f"({'send side shut down by the agent' if connection['shut'] else 'no shutdown seen'}):")
        show_bytes(connection["received"].encode("latin-1"))
        if number == 1:
            print("    the server answered with a metadata query:")
            print("      " + json.dumps(reply))
        else:
            print("    the server answered: " + json.dumps({"name": "errorCode", "value": 0}))
    print(f"    the agent's reply to zentctl (exit status {done.exit_code}):")
    for line in done.stdout.rstrip("\n").split("\n"):
        print("      " + line)


if __name__ == "__main__":
    direct_exchange(AgentHost())
