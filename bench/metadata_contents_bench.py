"""getFileContents: searching files by regular expression, against the same calls bare."""
TITLE = "getFileContents: searching files by regular expression"


def run():
    print("not measured yet")
