#!/usr/bin/python3
"""docs/hosted-project.sql, loaded into a PostgreSQL 15 of its own: what its constraints and policies let through.

    hosted_sql.py
"""

import pathlib, sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools/hosted_database"))
from postgres import postgres

ANN, BEN = "11111111-1111-4111-8111-111111111111", "22222222-2222-4222-8222-222222222222"
FILE = "33333333-3333-4333-8333-333333333333"  # of nobody
DIGEST = "a" * 64


def file_row(user, owner=None, key="a", digest=DIGEST):
    return f"""insert into files (user_id, storage_bucket, storage_key, path, bytes, mime, sha256, is_deleted, ingest_error)
        values ('{user}', 'files', 'user-{owner or user}/{key}', 'a.txt', 1, 'text/plain', '{digest}', false, null)"""


ROWS = (  # who, what, the answer or the beginning of the error
    (ANN, file_row(ANN), ""),
    (ANN, file_row(ANN, digest="b" * 64) + """ on conflict (user_id, storage_bucket, storage_key) do update set
        sha256 = excluded.sha256, is_deleted = excluded.is_deleted returning left(sha256, 1)""", "b"),
    (ANN, file_row(ANN), "duplicate key value violates unique constraint"),
    (ANN, file_row(BEN), "new row violates row-level security policy"),
    (ANN, file_row(ANN, owner=BEN), "new row for relation \"files\" violates check constraint"),
    (ANN, file_row(ANN, key="b", digest="skipped-too-large"), "new row for relation \"files\" violates check constraint"),
    (BEN, "select count(*) from files", "0"),
    (BEN, "with hit as (update files set is_deleted = true returning 1) select count(*) from hit", "0"),
    (ANN, "update files set is_deleted = true returning is_deleted", "t"),
    (ANN, "update files set ingested_at = now()", "permission denied for table files"),
    (ANN, "delete from files", "permission denied for table files"),
    (ANN, f"insert into jobs (user_id, file_id, kind, payload) select '{ANN}', id, 'ingest', '{{}}' from files", ""),
    (ANN, "select status, attempts from jobs", "queued|0"),
    (BEN, f"insert into jobs (user_id, file_id, kind, payload) values ('{BEN}', '{FILE}', 'ingest', '{{}}')",
     "new row violates row-level security policy"),
    (ANN, "update jobs set status = 'queued', attempts = 0, error = null returning status", "queued"),
    (ANN, "update jobs set status = 'lost'", "new row for relation \"jobs\" violates check constraint"),
    (BEN, "select count(*) from jobs", "0"),
    (ANN, f"insert into storage.objects (bucket_id, name) values ('files', 'user-{ANN}/root-1/a.txt')", ""),
    (BEN, f"insert into storage.objects (bucket_id, name) values ('files', 'user-{ANN}/root-1/b.txt')",
     "new row violates row-level security policy"),
    (BEN, "select count(*) from storage.objects", "0"),
    (ANN, "select public from storage.buckets", "permission denied for table buckets"),
)


def main():
    with postgres() as server:
        server.load(f"insert into auth.users values ('{ANN}', 'ann'), ('{BEN}', 'ben')")
        wrong = 0
        for who, what, expected in ROWS:
            try:
                answer = server.as_user(who, what)
            except RuntimeError as error:
                answer = str(error).split("ERROR:", 1)[1].strip()
            if not (answer == expected or expected and " " in expected and answer.startswith(expected)):
                print(f"{'Ann' if who == ANN else 'Ben'}: {what}\n  expected: {expected}\n  answered: {answer}")
                wrong += 1
        if wrong:
            sys.exit(f"{wrong} of {len(ROWS)} are wrong.")


if __name__ == "__main__":
    main()
    print(f"The hosted project's SQL lets through what it should: {len(ROWS)} statements.")
