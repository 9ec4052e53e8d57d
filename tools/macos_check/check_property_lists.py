"""Compares each key and value of the macOS edition's property lists with the expected ones.

    python3 check_property_lists.py INFO_PLIST

INFO_PLIST is the application's Info.plist of a build with the default version and without an app
key, server address or update key (cmake/info_plist.cmake). Reads the other lists from the checkout.
"""

import plistlib
import sys
from datetime import datetime
from pathlib import Path
from xml.parsers.expat import ExpatError

ROOT = Path(__file__).resolve().parents[2]

APPLICATION = {
    "CFBundleDevelopmentRegion": "nl",
    "CFBundleDisplayName": "Orvel OS",
    "CFBundleExecutable": "Orvel OS",
    "CFBundleIconFile": "orvel-os",
    "CFBundleIdentifier": "nl.orvel.os",
    "CFBundleInfoDictionaryVersion": "6.0",
    "CFBundleName": "Orvel OS",
    "CFBundlePackageType": "APPL",
    "CFBundleShortVersionString": "1.0",
    "CFBundleVersion": "1.0",
    "LSMinimumSystemVersion": "13.0",
    "NSAppTransportSecurity": {"NSAllowsArbitraryLoads": True},
    "NSDownloadsFolderUsageDescription": (
        "Orvel OS bewaart de bestanden die je downloadt in je map Downloads."
    ),
    "NSHighResolutionCapable": True,
    "NSLocalNetworkUsageDescription": (
        "Orvel OS maakt verbinding met de server die je als serveradres hebt gekozen."
    ),
    "NSPrincipalClass": "NSApplication",
}
# The ORVELOSTest entries have one value of each type, for a test that only texts are read.
TESTS = {
    "CFBundleIdentifier": "nl.orvel.os.contract",
    "CFBundleInfoDictionaryVersion": "6.0",
    "CFBundleName": "contract_tests",
    "NSAppTransportSecurity": {"NSAllowsArbitraryLoads": True},
    "ORVELOSTestText": "text",
    "ORVELOSTestNumber": 1,
    "ORVELOSTestBoolean": True,
    "ORVELOSTestDate": datetime(2026, 1, 1),
    "ORVELOSTestData": b"text",
    "ORVELOSTestArray": ["text"],
    "ORVELOSTestDictionary": {"text": "text"},
}
# Without entitlements, the hardened runtime has no exceptions.
ENTITLEMENTS = {}


def differences(path, expected):
    """Returns a complaint for each key whose value in a property list is not the expected one."""
    try:
        found = plistlib.loads(Path(path).read_bytes())
    except (OSError, ValueError, ExpatError) as error:
        return [f"{path}: {error}"]
    if not isinstance(found, dict):
        return [f"{path}: is not a dictionary"]
    return [
        f"{path}: {key} is {found.get(key)!r}, expected {expected.get(key)!r}"
        for key in sorted(found.keys() | expected.keys())
        # In Python, True equals 1.
        if found.get(key) != expected.get(key)
        or type(found.get(key)) is not type(expected.get(key))
    ]


complaints = [
    *differences(sys.argv[1], APPLICATION),
    *differences(ROOT / "packaging/macos/orvel-os.entitlements", ENTITLEMENTS),
    *differences(ROOT / "tests/macos/Info.plist", TESTS),
]
for complaint in complaints:
    print(f"check_property_lists: {complaint}", file=sys.stderr)
sys.exit(1 if complaints else 0)
