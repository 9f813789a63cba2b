-- What Veskline takes for granted of a hosted project: two tables and a bucket, each row and each object its owner's alone.
-- For PostgreSQL 15, run once as the project's administrator. The platform brings along what is only used here: the
-- schemas auth (users, uid()) and storage (buckets, objects, foldername()), and the roles authenticated and service_role.
--
-- Users are signed-in accounts (authenticated). The worker that ingests is service_role, which no policy holds back.

begin;

-- One row for each document. It is never removed: what has gone from the disk is marked.
create table public.files (
    id uuid primary key default gen_random_uuid(),
    user_id uuid not null references auth.users (id) on delete cascade,
    storage_bucket text not null,
    storage_key text not null check (storage_key like 'user-' || user_id || '/%'),
    path text not null,                         -- below the synced folder, as on the user's disk
    bytes bigint check (bytes >= 0),
    mime text,
    sha256 text check (sha256 ~ '^[0-9a-f]{64}$'), -- of the object's content
    is_deleted boolean not null default false,
    ingested_sha256 text,                       -- of the content that the worker has made searchable
    ingested_at timestamptz,
    ingest_error text,
    created_at timestamptz not null default now(),
    updated_at timestamptz not null default now(),
    unique (user_id, storage_bucket, storage_key)  -- what the agent's upsert names as its conflict
);

-- What the worker has to do. The agent queues 'ingest', and puts failed jobs back to 'queued'.
create table public.jobs (
    id uuid primary key default gen_random_uuid(),
    user_id uuid not null references auth.users (id) on delete cascade,
    file_id uuid references public.files (id) on delete cascade,
    kind text not null,
    payload jsonb not null default '{}',
    status text not null default 'queued' check (status in ('queued', 'running', 'done', 'error')),
    attempts integer not null default 0 check (attempts >= 0),
    error text,
    created_at timestamptz not null default now(),
    updated_at timestamptz not null default now()
);

-- Each of the agent's questions, which come every minute, is answered by an index.
create index files_by_key on public.files (storage_key);
create index files_by_ingestion on public.files (user_id, ingested_at desc) where ingested_at is not null;
create index jobs_by_status on public.jobs (user_id, status, created_at);
create index jobs_by_file on public.jobs (file_id);

create function public.veskline_touch() returns trigger language plpgsql as $$
begin
    new.updated_at = now();
    return new;
end
$$;
create trigger files_touch before update on public.files for each row execute function public.veskline_touch();
create trigger jobs_touch before update on public.jobs for each row execute function public.veskline_touch();

-- Who may touch which columns. What the worker writes, a user reads; nobody but the worker deletes.
revoke all on public.files, public.jobs from public, anon, authenticated;
grant select on public.files, public.jobs to authenticated;
grant insert (user_id, storage_bucket, storage_key, path, bytes, mime, sha256, is_deleted, ingest_error),
      update (user_id, storage_bucket, storage_key, path, bytes, mime, sha256, is_deleted, ingest_error)
      on public.files to authenticated;
grant insert (user_id, file_id, kind, payload), update (status, attempts, error) on public.jobs to authenticated;
grant all on public.files, public.jobs to service_role;

-- Which rows: one's own. A job belongs to a file of the same user.
alter table public.files enable row level security;
alter table public.jobs enable row level security;
create policy files_read on public.files for select to authenticated using (user_id = auth.uid());
create policy files_add on public.files for insert to authenticated with check (user_id = auth.uid());
create policy files_change on public.files for update to authenticated
    using (user_id = auth.uid()) with check (user_id = auth.uid());
create policy jobs_read on public.jobs for select to authenticated using (user_id = auth.uid());
create policy jobs_add on public.jobs for insert to authenticated with check (
    user_id = auth.uid()
    and exists (select from public.files where files.id = file_id and files.user_id = auth.uid()));
create policy jobs_change on public.jobs for update to authenticated
    using (user_id = auth.uid()) with check (user_id = auth.uid());

-- The bucket, not public. Another name goes into SUPABASE_FILES_BUCKET of public-config.json. An upload that may replace
-- an object needs all three.
insert into storage.buckets (id, name, public) values ('files', 'files', false) on conflict (id) do nothing;
create policy veskline_objects_read on storage.objects for select to authenticated
    using (bucket_id = 'files' and (storage.foldername(name))[1] = 'user-' || auth.uid());
create policy veskline_objects_add on storage.objects for insert to authenticated
    with check (bucket_id = 'files' and (storage.foldername(name))[1] = 'user-' || auth.uid());
create policy veskline_objects_change on storage.objects for update to authenticated
    using (bucket_id = 'files' and (storage.foldername(name))[1] = 'user-' || auth.uid())
    with check (bucket_id = 'files' and (storage.foldername(name))[1] = 'user-' || auth.uid());

commit;
