"""Programs that a test runs."""
import subprocess


def output(*words, **more):
    """What a program prints on both streams; whoever fails, fails the test with it."""
    done = subprocess.run([str(word) for word in words], check=False, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=120, **more)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, words))}: status {done.returncode}\n{done.stdout}")
    return done.stdout
