/* The console test client: runs option lines from the auto-test file or the console. */
#ifndef CPE_DM_CLIENT_H
#define CPE_DM_CLIENT_H

/* Runs the client and returns its exit status, which is always 0. When auto_test_file exists, the client runs the lines
 * of this file until the end or the first line that fails. Otherwise it runs the lines of the console until their end.
 * From this call on, SIGTERM ends the program with status 0, and standard output is unbuffered. The client does not
 * deregister from the module at the end. */
int cpe_dm_client_run(const char *auto_test_file);

#endif
