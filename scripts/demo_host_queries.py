"""The demo's host queries: what the server asks about the host, and the
agent's answers shown result by result, with the digest that tells the
server whether anything changed since it last asked."""
import json
import xml.etree.ElementTree as ElementTree

# The server's questions: one registry value, one key, the services in
# detail, the listening ports, the installed programs, the agent's
# environment and the running processes; the agent's executable, its folder,
# and the policy lines of its settings file.
QUERIES = """<Message>
  <Request cmd="GetHostMetaData">
    <RequestID>{request_id}</RequestID>
    <HostMetaDataQueries>
      <HostMetaDataQuery id="10" query="getFileContents" arg1="{install_dir}\\config\\zent_agent.ini" arg2="Policy"/>
      <HostMetaDataQuery id="9" query="getDirectoryListing" arg1="{install_dir}"/>
      <HostMetaDataQuery id="8" query="getFileInfo" arg1="{install_dir}\\ZentAgent.exe"/>
      <HostMetaDataQuery id="7" query="getRunningProcesses"/>
      <HostMetaDataQuery id="6" query="getEnvironment"/>
      <HostMetaDataQuery id="5" query="getInstalledSoftware"/>
      <HostMetaDataQuery id="4" query="getListenPorts"/>
      <HostMetaDataQuery id="3" query="getServices" arg1="detailed"/>
      <HostMetaDataQuery id="2" query="getRegistryKey" arg1="HKLM\\SOFTWARE\\Halvane\\ZentAgent"/>
      <HostMetaDataQuery id="1" query="getRegistryValue" arg1="HKLM\\SOFTWARE\\Halvane\\ZentAgent" arg2="RawConfigTime"/>
    </HostMetaDataQueries>
  </Request>
</Message>
"""
QUERY_NAMES = {"1": "getRegistryValue", "2": "getRegistryKey", "3": "getServices detailed", "4": "getListenPorts",
               "5": "getInstalledSoftware", "6": "getEnvironment", "7": "getRunningProcesses",
               "8": "getFileInfo", "9": "getDirectoryListing", "10": "getFileContents"}
# Of the host's services and processes, the ones of this demo; of the
# agent's environment, a few variables.
OWN_SERVICES = ("ZentAgent", "mlfilter")
OWN_PROCESSES = ("ZentAgent.exe", "mlfilter.exe")
SOME_VARIABLES = ("SystemRoot", "ProgramData", "TEMP", "USERNAME")
# Where an installer registers the agent for the host's list of programs.
UNINSTALL_KEY = r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\ZentAgent"


def queries(request_id, install_dir):
    """The request document the server sends."""
    return QUERIES.format(request_id=request_id, install_dir=install_dir)


def parse(document):
    """A response document as bytes; the narrow copies of service texts can
    make bytes that are not UTF-8, shown as replacement characters."""
    return ElementTree.fromstring(document.decode("utf-8", "replace"))


def attributes(host_meta_data):
    return [(a.get("name"), a.get("value")) for a in host_meta_data.iter("Attribute")]


def show_object(host_meta_data, indent="        "):
    print(f"{indent}{host_meta_data.get('type')} {host_meta_data.get('identifier')}")
    for name, value in attributes(host_meta_data):
        print(f"{indent}    {name} = {value}")


def results(document):
    """Each result's id, hash and objects, in the document's order."""
    return [(r.get("id"), r.get("commandVersion"), r.get("hash"), list(r.iter("HostMetaData")))
            for r in parse(document).iter("HostMetaDataQueryResult")]


def show_results(document):
    for query_id, version, digest, objects in results(document):
        print(f"    result id {query_id} ({QUERY_NAMES.get(query_id, '?')}), commandVersion {version}, "
              f"{len(objects)} object(s)")
        print(f"      hash {digest}")
        shown = objects
        if query_id == "3":
            shown = [o for o in objects if o.get("identifier") in OWN_SERVICES]
            print(f"      of the {len(objects)} services, the agent's and its driver's:")
        elif query_id == "6":
            shown = [o for o in objects if o.get("identifier") in SOME_VARIABLES]
            print(f"      of the {len(objects)} variables, {', '.join(SOME_VARIABLES)}:")
        elif query_id == "7":
            shown = [o for o in objects if o.get("identifier").split("\\")[0] in OWN_PROCESSES]
            print(f"      of the {len(objects)} processes, the agent's and its driver's:")
        for host_meta_data in shown:
            show_object(host_meta_data)


def compare(first, second):
    """What the server learns from the digests of two answers: a result whose
    hash is the same needs no further reading; one that changed is shown."""
    before = {query_id: digest for query_id, _, digest, _ in results(first)}
    for query_id, _, digest, objects in results(second):
        name = QUERY_NAMES.get(query_id, query_id)
        if before.get(query_id) == digest:
            print(f"      {name:24} same hash: nothing changed")
            continue
        print(f"      {name:24} hash changed to {digest}: the server reads the objects again")
        if len(objects) <= 5:
            for host_meta_data in objects:
                show_object(host_meta_data, indent="          ")


def client_response_content(message):
    """The result document a ClientResponse carries, as bytes."""
    return message.response_content()


def pipe_query(agent, request_id, install_dir):
    """The same questions through pipe command 106 (TestMode): the answer is
    left in meta_response.xml in the agent's folder."""
    reply = agent.send("get-metadata", "--request-id", "106", data=queries(request_id, install_dir).encode())
    with open(agent.path("meta_response.xml"), "rb") as f:
        return reply, f.read()
