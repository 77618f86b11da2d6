"""Host queries about files and processes under Wine, each against a bare
loop of the same calls in the same run (and the file contents search also
against grep and ripgrep on the same tree): medians of five, ratios, PASS or
FAIL against the goal. A slow machine slows both sides alike, so only the
ratios are held to goals, and nothing here fails a build."""
import os
import sys

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, here)

import metadata_contents_bench  # noqa: E402
import metadata_listing_bench  # noqa: E402
import metadata_processes_bench  # noqa: E402


def main():
    for part in (metadata_contents_bench, metadata_listing_bench, metadata_processes_bench):
        print(f"== {part.TITLE}", flush=True)
        part.run()


if __name__ == "__main__":
    main()
