"""What a program may have changed on the switch: settings, multicast database, firewall."""

import json


def without_counts(value):
    """The same without what changes by itself: running timers, learnt groups, kernel-given numbers."""
    if isinstance(value, dict):
        return {key: without_counts(inner) for key, inner in value.items()
                if not key.endswith("_timer") and key not in ("handle", "mcast_n_groups")}
    if isinstance(value, list):
        return [without_counts(inner) for inner in value]
    return value


def entries(switch):
    """What somebody has put into the multicast database; what the kernel learns comes and goes."""
    shown = json.loads(switch.must(["bridge", "-j", "-d", "mdb", "show"]))
    found = [entry for part in shown for entry in part.get("mdb", [])
             if entry["state"] == "permanent"]
    return sorted(found, key=lambda entry: (entry["grp"], entry["port"]))


def groups_of(switch, device):
    """The groups that the database sends to a port."""
    return [entry["grp"] for entry in entries(switch) if entry["port"] == device]


def rules(switch):
    return json.loads(switch.must(["nft", "-j", "list", "ruleset"]))["nftables"][1:]


def snapshot(switch):
    """All of it, as lines that can be compared."""
    parts = {
        "links": json.loads(switch.must(["ip", "-j", "-d", "link", "show"])),
        "bridge ports": json.loads(switch.must(["bridge", "-j", "-d", "link", "show"])),
        "multicast database": entries(switch),
        "firewall": rules(switch),
    }
    return json.dumps(without_counts(parts), indent=1, sort_keys=True).splitlines()
