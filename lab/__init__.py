"""A switch with its hosts in namespaces of this machine; see README.md."""
