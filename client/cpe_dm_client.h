/* The console test client: each line of the auto-test file or of the console selects a menu option of the client and
 * gives its arguments. */
#ifndef CPE_DM_CLIENT_H
#define CPE_DM_CLIENT_H

/* Runs the client and returns its exit status, which is always 0. If the file `auto_test_file` exists, the client runs
 * the lines of this file until the end or the first line that fails. Otherwise it runs the lines of standard input
 * until the end. From this call on, SIGTERM ends the program with status 0, and standard output is unbuffered. The
 * client does not deregister from the module at the end. */
int cpe_dm_client_run(const char *auto_test_file);

#endif
