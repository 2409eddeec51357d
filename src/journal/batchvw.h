// Batch coordination: users and batch jobs keep out of each other's way
// through lock bytes in DTSYS.TXT. Group g (0..15) owns the 99 bytes from
// offset 40085 + g * 99, one for each user number: a user at work in the
// group holds the byte of its number (40084 + g * 99 + user), and a job that
// needs the group's files alone holds the whole range. The locks are IOLOCK
// 'S' locks, so a range is held by one process only.
//
// Groups in use: 1 KASMUT.TXT, 2 data communication sales processing,
// 4 the journals.
//
// User 99 is the batch user: it has no terminal dialogue. Its claim gives up
// at once when someone is active, its entry waits without a window, and
// where others would get a fatal error it ends the program quietly.
#pragma once

// The job's claim on the whole group. While users block it a window names
// them (one user by name, else their number) and offers to wait.
bool batchvw_claim(int groep);
void batchvw_release(int groep);
// The user's own byte. While a job holds the group a window says so; with
// `wachten` the user may give up (false), without it the entry keeps trying.
bool batchvw_enter(int groep, bool wachten);
void batchvw_leave(int groep);

// The user number of this process (set at start-up).
void batchvw_set_user(long user_nr);
constexpr long BATCH_USER = 99;
