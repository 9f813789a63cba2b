#!/usr/bin/python3
"""A PostgreSQL 15 for a moment, with a hosted project's SQL loaded, to try its constraints and policies by hand.

    postgres.py [SQL]

Opens psql on it as its administrator; docs/hosted-project.sql where no other is named. To be the user of an id there:

    set role authenticated; set request.jwt.claim.sub = '<id>';

What the hosted platform brings along is in platform.sql, as little of it as is used. The tests use this as a module.
"""

import contextlib, os, pathlib, shutil, subprocess, sys, tempfile

HERE = pathlib.Path(__file__).resolve().parent
HOSTED_SQL = HERE.parents[1] / "docs/hosted-project.sql"
PROGRAMS = "/usr/lib/postgresql/15/bin"


class Postgres:
    """A server in a folder of its own, reached by its socket alone. It refuses to be root: then it is nobody."""

    def __init__(self, folder):
        self.folder = folder
        self.user = ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"] if os.getuid() == 0 else []
        if self.user:
            shutil.chown(folder, "nobody", "nogroup")
        self.run(f"{PROGRAMS}/initdb", "-D", f"{folder}/data", "-U", "postgres", "-A", "trust", "-E", "UTF8", "--no-sync")
        self.control("start", "-o", f"-k {folder} -c listen_addresses= -c fsync=off", "-l", f"{folder}/log")

    def run(self, *command):
        subprocess.run([*self.user, *command], check=True, cwd=self.folder, stdout=subprocess.DEVNULL,
                       env={"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8"})

    def control(self, *words):
        self.run(f"{PROGRAMS}/pg_ctl", "-D", f"{self.folder}/data", "-w", *words)

    def load(self, sql):
        """What a whole script answers. An error ends it, in the server's words."""
        done = subprocess.run([f"{PROGRAMS}/psql", "-h", str(self.folder), "-U", "postgres", "-XqAt", "-v",
                               "ON_ERROR_STOP=1"], input=sql, capture_output=True, text=True)
        if done.returncode:
            raise RuntimeError(done.stderr)
        return done.stdout.strip()

    def as_user(self, user, sql):
        return self.load(f"set role authenticated; set request.jwt.claim.sub = '{user}'; {sql}")


def require_programs():
    """Exits and says what to install where PostgreSQL 15 is missing."""
    if not pathlib.Path(PROGRAMS, "initdb").exists():
        sys.exit("postgres.py needs PostgreSQL 15: apt install postgresql-15")


@contextlib.contextmanager
def postgres(sql=HOSTED_SQL):
    with tempfile.TemporaryDirectory(prefix="veskline-postgres-") as name:
        server = Postgres(pathlib.Path(name))
        try:
            server.load((HERE / "platform.sql").read_text())
            server.load(sql.read_text())
            yield server
        finally:
            server.control("stop", "-m", "immediate")


if __name__ == "__main__":
    require_programs()
    try:
        with postgres(*map(pathlib.Path, sys.argv[1:2])) as server:
            sys.exit(subprocess.run((f"{PROGRAMS}/psql", "-h", str(server.folder), "-U", "postgres")).returncode)
    except (OSError, RuntimeError) as error:
        sys.exit(f"postgres.py: {str(error).strip()}")
