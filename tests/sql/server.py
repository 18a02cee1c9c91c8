"""A PostgreSQL server of our own, in a temporary folder and reached by a socket in it alone. Nothing of the system's server
is touched: a copy of the program finds its other files relative to itself, where links to the system's lie beside the
extension of the build."""
import os
import pwd
import shutil
import subprocess
import tempfile

BIN = "usr/lib/postgresql/15/bin"
LIB = "usr/lib/postgresql/15/lib"
SHARE = "usr/share/postgresql/15"
PROJECT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class Server:
    def __init__(self, extension, libraries):
        """`extension` is the folder with the module, control file and script; `libraries` those that the module needs."""
        self.folder = tempfile.mkdtemp(prefix="sarvane-postgresql-")
        # PostgreSQL refuses to run as root: the package's user does it then.
        user = pwd.getpwnam("postgres") if os.geteuid() == 0 else pwd.getpwuid(os.geteuid())
        self.user = {"user": user.pw_uid, "group": user.pw_gid, "extra_groups": []} if os.geteuid() == 0 else {}
        for folder in (BIN, LIB, SHARE + "/extension"):
            os.makedirs(os.path.join(self.folder, folder))
        for program in ("postgres", "initdb", "pg_ctl"):
            shutil.copy(f"/{BIN}/{program}", self._path(BIN))
        for folder in (LIB, SHARE, SHARE + "/extension"):
            for entry in os.listdir("/" + folder):
                if entry != "extension":
                    os.symlink(f"/{folder}/{entry}", self._path(folder, entry))
        for name in os.listdir(extension):
            if name.startswith("sarvane"):
                shutil.copy(os.path.join(extension, name),
                            self._path(LIB if name.endswith(".so") else SHARE + "/extension", name))
        for library in libraries:
            shutil.copy(library, self._path(LIB))
        os.chmod(self.folder, 0o755)
        os.mkdir(self._path("run"))
        if self.user:
            os.chown(self._path("run"), user.pw_uid, user.pw_gid)
        self.environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "LD_LIBRARY_PATH": self._path(LIB),
                            "PGHOST": self._path("run"), "PGUSER": user.pw_name, "PGDATABASE": "postgres"}
        self._run("initdb", "-D", self._path("run/data"), "-A", "trust", "--no-sync", "-E", "UTF8")
        self._run("pg_ctl", "-D", self._path("run/data"), "-w", "-l", self._path("run/log"), "-o",
                  f"-c listen_addresses='' -c unix_socket_directories={self._path('run')} -c fsync=off "
                  "-c shared_buffers=32MB -c max_parallel_workers=2", "start")

    def _path(self, *parts):
        return os.path.join(self.folder, *parts)

    def _run(self, program, *arguments):
        with open(self._path("run/setup"), "w") as log:
            subprocess.run([self._path(BIN, program), *arguments], cwd=self.folder, env=self.environment, stdout=log,
                           stderr=log, check=True, **self.user)

    def psql(self, text, *options):
        """What a session prints, and what it complains of."""
        run = subprocess.run([f"/{BIN}/psql", "-X", "-q", *options], input=text, text=True, capture_output=True,
                             cwd=PROJECT, env=self.environment, timeout=300)
        return run.stdout, run.stderr

    def stop(self):
        self._run("pg_ctl", "-D", self._path("run/data"), "-m", "fast", "-w", "stop")
        shutil.rmtree(self.folder)
