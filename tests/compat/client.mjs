// client.mjs VESKLINE_LOCAL_PROJECT: the hosted stack's official JavaScript client does what the agent does, against the
// local project. What this client understands of it is what the agent may rely on.

import assert from 'node:assert/strict'
import { spawn } from 'node:child_process'
import { createHash, randomUUID } from 'node:crypto'
import { mkdtempSync, rmSync } from 'node:fs'
import { tmpdir } from 'node:os'
import { join } from 'node:path'
import { createInterface } from 'node:readline'
import { setTimeout as pause } from 'node:timers/promises'

// npm puts the modules where it was told to, which is not beside this file.
const { createClient } = await import(join(process.env.VESKLINE_MODULES, '@supabase/supabase-js/dist/main/index.js'))
  .then(module => module.default ?? module)

const email = 'ann@example.com'
const password = 'a long password'

// What was answered; a refusal ends the run.
async function answer(question) {
  const { data, error, count } = await question
  assert.equal(error, null)
  return count ?? data
}

const clientOf = url => createClient(url, 'local-anon-key', { auth: { persistSession: false, autoRefreshToken: false } })

async function run(url) {
  const client = clientOf(url)

  const refused = await client.auth.signInWithPassword({ email, password: 'a guess' })
  assert.deepEqual([refused.error.name, refused.error.status], ['AuthApiError', 400])
  assert.notEqual((await client.from('files').select()).error, null, 'rows without a session')
  const { user, session } = await answer(client.auth.signInWithPassword({ email, password }))
  assert.equal(user.email, email)
  assert.equal((await answer(client.auth.getUser())).user.id, user.id)

  const content = 'What is kept becomes searchable.'
  const sha256 = createHash('sha256').update(content).digest('hex')
  const storage_key = `user-${user.id}/root-0123abcd/note-4567cdef.txt`
  const bucket = client.storage.from('files')
  const upload = upsert => bucket.upload(storage_key, Buffer.from(content), { contentType: 'text/plain', upsert })
  assert.equal((await answer(upload(true))).path, storage_key)
  assert.equal((await answer(upload(true))).path, storage_key, 'an object is replaced')
  assert.equal((await upload(false)).error?.statusCode, '409', 'unless it may not be')

  const row = { user_id: user.id, storage_bucket: 'files', storage_key, path: 'note.txt', bytes: content.length,
    mime: 'text/plain', sha256, is_deleted: false, ingest_error: null }
  const upsert = () => client.from('files')
    .upsert(row, { onConflict: 'user_id,storage_bucket,storage_key' }).select().single()
  const { data: file, ...first } = await upsert()
  assert.deepEqual([first.error, first.status, file.sha256], [null, 201, sha256])
  const second = await upsert()
  assert.deepEqual([second.status, second.data.id], [200, file.id], 'a second upsert is an update')
  const crooked = await client.from('files').update({ sha256: 'skipped' }).eq('id', file.id)
  assert.deepEqual([crooked.status, crooked.error.code], [400, '23514'])
  const foreign = await client.from('files').insert({ ...row, user_id: randomUUID() })
  assert.notEqual(foreign.error, null, 'a row of another user')
  const unknown = await client.from('files').select('nonsense')
  assert.equal(unknown.error.code, '42703')

  await answer(client.from('jobs').insert({ user_id: user.id, file_id: file.id, kind: 'ingest', payload: {} }))
  const jobs = status => answer(client.from('jobs').select('*', { count: 'exact', head: true }).eq('status', status))
  for (let tries = 0; await jobs('done') !== 1; ++tries) {
    assert.ok(tries < 200, 'the worker stands still')
    await pause(50)
  }
  assert.deepEqual([await jobs('queued'), await jobs('error')], [0, 0])

  const read = await answer(client.from('files').select('id,ingested_sha256,ingested_at').in('id', [file.id])
    .not('ingested_at', 'is', null).order('ingested_at', { ascending: false }).limit(1).maybeSingle())
  assert.equal(read.ingested_sha256, sha256)
  assert.ok(!Number.isNaN(Date.parse(read.ingested_at)))
  await answer(client.from('files').update({ is_deleted: true }).eq('id', file.id))
  assert.equal((await answer(client.from('files').select('is_deleted').eq('storage_key', storage_key)))[0].is_deleted, true)

  const renewed = await answer(client.auth.refreshSession(session))
  assert.notEqual(renewed.session.access_token, session.access_token)
  const reused = await client.auth.refreshSession({ refresh_token: session.refresh_token })
  assert.notEqual(reused.error, null, 'a refresh token is good once')
}

async function signUp(url) {
  const client = clientOf(url)
  const { user, session } = await answer(client.auth.signUp({ email: 'ben@example.com', password }))
  assert.deepEqual([user.email, session.user.id], ['ben@example.com', user.id])
  assert.equal((await answer(client.auth.getUser())).user.id, user.id, 'signing up signs in')
  const again = await client.auth.signUp({ email: 'ben@example.com', password })
  assert.equal(again.error.status, 422)
}

// Signing out, with two sessions of one user. The client hides a refusal of the token, so the tokens are tried afterwards.
async function signOuts(url) {
  const credentials = { email, password }
  for (const [scope, first, second] of [['local', false, true], ['others', true, false], ['global', false, false]]) {
    const [one, other] = [clientOf(url), clientOf(url)]
    const { session } = await answer(one.auth.signInWithPassword(credentials))
    await answer(other.auth.signInWithPassword(credentials))
    assert.equal((await one.auth.signOut({ scope })).error, null)
    const isKnown = async (client, token) => (await client.auth.getUser(token)).error === null
    assert.deepEqual([await isKnown(one, session.access_token), await isKnown(other)], [first, second], scope)
  }
}

const folder = mkdtempSync(join(tmpdir(), 'veskline-client-'))
const project = spawn(process.argv[2], ['--data', join(folder, 'data'), '--user', `${email}:${password}`, '--signup-reply', 'top-level'],
  { stdio: ['ignore', 'pipe', 'inherit'] })
try {
  const { value: line } = await createInterface({ input: project.stdout })[Symbol.asyncIterator]().next()
  const url = line.split(' ').at(-1)
  await run(url)
  await signUp(url)
  await signOuts(url)
  console.log('The hosted stack\'s own client is content with the local project: sign-up, sign-in, upserts, sign-out.')
} finally {
  project.kill()
  rmSync(folder, { recursive: true, force: true })
}
