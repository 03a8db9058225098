/* The console test client: runs option lines from the auto-test file or the console. */
#ifndef CPE_DM_CLIENT_H
#define CPE_DM_CLIENT_H

/* Runs the client and returns its exit status, always 0. When auto_test_file exists, its lines are run until its end or
 * the first failure; otherwise the console's lines are, until its end. From here on SIGTERM ends the program with
 * status 0. The module is left as it is at the end. */
int cpe_dm_client_run(const char *auto_test_file);

#endif
