#!/usr/bin/python3
"""The built agent, whose rows go through the constraints and policies of docs/hosted-project.sql in PostgreSQL.

    hosted_sync.py FOLDER_OF_THE_PROGRAMS

Accounts and objects are the local project's; a thin front before it hands what is asked of the tables to PostgreSQL, in
the name of the token's user, and knows as much of the query language as the agent speaks.
"""

import hashlib, http.client, http.server, json, pathlib, subprocess, sys, tempfile, threading, urllib.parse

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools/hosted_database"))
from postgres import postgres

EMAIL, PASSWORD = "ann@example.com", "a long password"
PATIENCE = 60  # seconds for one start of the agent
STATUS = (("row-level security", 403), ("permission denied", 403), ("duplicate key", 409))


def quoted(text):
    return "'" + text.replace("'", "''") + "'"


def condition(column, filter):
    operator, _, value = filter.partition(".")
    if filter == "not.is.null":
        return f"{column} is not null"
    if operator == "in":
        return f"{column} in ({', '.join(quoted(each) for each in value[1:-1].split(','))})"
    return f"{column} = {quoted(value)}"


def statement(method, table, query, body):
    special = {name: query.pop(name, None) for name in ("select", "order", "limit", "on_conflict")}
    columns = special["select"] or "*"
    where = " and ".join(["true", *(condition(*item) for item in query.items())])
    names = ", ".join(body or ())
    row = f"json_populate_record(null::{table}, {quoted(json.dumps(body))})"
    if method == "GET":
        order = f" order by {special['order'].replace('.', ' ')}" if special["order"] else ""
        limit = f" limit {special['limit']}" if special["limit"] else ""
        return f"with hit as (select {columns} from {table} where {where}{order}{limit})"
    if method == "PATCH":
        return (f"with hit as (update {table} set ({names}) = row({', '.join('new.' + name for name in body)}) "
                f"from {row} as new where {where.replace('id in', table + '.id in').replace('id =', table + '.id =')} "
                f"returning 1)")
    merge = ""
    if special["on_conflict"]:
        changes = ", ".join(f"{name} = excluded.{name}" for name in body)
        merge = f" on conflict ({special['on_conflict']}) do update set {changes}"
    return f"with hit as (insert into {table} ({names}) select {names} from {row}{merge} returning {columns})"


class Front(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def handle_one(self):
        self.sent = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        path = urllib.parse.urlsplit(self.path)
        try:
            if path.path.startswith("/storage/v1/object/"):
                bucket, key = urllib.parse.unquote(path.path.removeprefix("/storage/v1/object/")).split("/", 1)
                self.ask("with hit as (insert into storage.objects (bucket_id, name) values "
                         f"({quoted(bucket)}, {quoted(key)}) on conflict (bucket_id, name) do update set name = excluded.name "
                         "returning 1)")
            if not path.path.startswith("/rest/v1/"):
                return self.answer(*self.forward(self.command, self.path, self.sent))
            query = dict(urllib.parse.parse_qsl(path.query))
            rows = self.ask(statement(self.command, path.path.removeprefix("/rest/v1/"), query,
                                      json.loads(self.sent or "null")))
            total = {"Content-Range": f"*/{len(rows)}"} if "count=exact" in self.headers.get("Prefer", "") else {}
            self.answer(200, json.dumps(rows).encode(), total)
        except RuntimeError as error:
            self.server.refusals.append(str(error))
            self.answer(next((status for words, status in STATUS if words in str(error)), 400), b"{}")

    do_GET = do_POST = do_PATCH = handle_one

    def ask(self, with_hit):
        status, user, _ = self.forward("GET", "/auth/v1/user", b"")
        if status != 200:
            raise RuntimeError("permission denied without a session")
        user = json.loads(user)["id"]
        self.server.postgres.load(f"insert into auth.users (id) values ('{user}') on conflict do nothing")
        return json.loads(self.server.postgres.as_user(user, f"{with_hit} select coalesce(json_agg(hit), '[]') from hit"))

    def forward(self, method, path, body):
        connection = http.client.HTTPConnection("127.0.0.1", self.server.project)
        headers = {name: value for name, value in self.headers.items() if name.lower() not in ("host", "content-length")}
        connection.request(method, path, body or None, headers)
        answer = connection.getresponse()
        return answer.status, answer.read(), {}

    def answer(self, status, body, headers={}):
        self.send_response(status)
        for name, value in {"Content-Length": str(len(body)), "Content-Type": "application/json", **headers}.items():
            self.send_header(name, value)
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *_):
        pass


class Sync:
    def __init__(self, programs, folder, server):
        self.programs, self.server, self.documents = programs, server, folder / "documents"
        self.project = subprocess.Popen((programs / "veskline-local-project", "--data", folder / "project", "--no-worker",
                                         "--user", f"{EMAIL}:{PASSWORD}"), stdout=subprocess.PIPE, text=True)
        self.front = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Front)
        self.front.project = int(self.project.stdout.readline().rsplit(":", 1)[1])
        self.front.postgres, self.front.refusals = server, []
        threading.Thread(target=self.front.serve_forever, daemon=True).start()
        url = f"http://127.0.0.1:{self.front.server_port}"
        self.environment = {
            "PATH": "/usr/bin:/bin", "HOME": str(folder), "LANG": "C.UTF-8", "VESK_STATE_DIR": f"{folder}/state",
            "SUPABASE_URL": url, "SUPABASE_ANON_KEY": "local-anon-key", "DASHBOARD_URL": url,
            "VESKLINE_DEMO_EMAIL": EMAIL, "VESKLINE_DEMO_PASSWORD": PASSWORD}

    def set_up(self):
        subprocess.run((self.programs / "veskline-demo-setup", "ultra", self.documents), env=self.environment, check=True)

    def summary(self):
        """A start, up to the end of the initial scan, and a clean end. Killed where it never comes to that."""
        agent = subprocess.Popen((self.programs / "veskline",), env=self.environment, stdout=subprocess.PIPE, text=True)
        end = threading.Timer(PATIENCE, agent.kill)
        end.start()
        lines = []
        for line in agent.stdout:
            lines.append(line.rstrip())
            if line.startswith(("Initial scan complete", "Auto-start failed")):
                agent.terminate()
        end.cancel()
        assert agent.wait() == 0, lines
        return next((line for line in lines if line.startswith("Summary:")), lines)

    def rows(self):
        return set(self.server.load("select path, sha256 from files where not is_deleted").splitlines())

    def disk(self):
        return {f"{path.relative_to(self.documents)}|{hashlib.sha256(path.read_bytes()).hexdigest()}"
                for path in self.documents.rglob("*") if path.is_file()}


def same(got, expected):
    if got != expected:
        sys.exit(f"expected: {expected}\ngot:      {got}")


def run(sync):
    names = ("a.txt", "It's 100% \"quoted\", (1).md", "sub/Réport.csv")
    for name in names:
        path = sync.documents / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(name)
    sync.set_up()
    same(sync.summary(), "Summary: uploaded 3, skipped 0, deleted 0, failed 0.")
    same(sync.rows(), sync.disk())
    same(sync.server.load("select count(*), min(status), bool_and(f.user_id = j.user_id) from jobs j join files f "
                          "on f.id = j.file_id"), "3|queued|t")
    same(sync.server.load("select count(*) from storage.objects o join files f on f.storage_key = o.name"), "3")

    sync.server.load("""update jobs set status = 'error', error = 'unreadable';
        update files set ingested_sha256 = sha256, ingested_at = now()""")  # as the worker may
    (sync.documents / names[0]).write_text("changed")
    (sync.documents / names[1]).unlink()
    same(sync.summary(), "Summary: uploaded 1, skipped 1, deleted 1, failed 0.")
    same(sync.rows(), sync.disk())
    same(sync.server.load("select count(*) from files where is_deleted"), "1")
    same(sync.server.as_user("22222222-2222-4222-8222-222222222222", "select count(*) from files"), "0")
    same(sync.front.refusals, [])


with tempfile.TemporaryDirectory(prefix="veskline-sync-") as name, postgres() as server:
    sync = Sync(pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(name), server)
    try:
        run(sync)
    finally:
        sync.project.kill()
print("A sync passes the hosted project's constraints and policies.")
