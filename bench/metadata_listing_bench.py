"""getDirectoryListing: listing a directory, against the same calls bare."""
TITLE = "getDirectoryListing: listing a directory"


def run():
    print("not measured yet")
