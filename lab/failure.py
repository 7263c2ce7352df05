"""What the lab raises when something that it needs is not to be had."""


class LabError(Exception):
    """One line that says what is missing or what went wrong."""
