"""getRunningProcesses: the running processes and their owners, against the same calls bare."""
TITLE = "getRunningProcesses: the running processes and their owners"


def run():
    print("not measured yet")
