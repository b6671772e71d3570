/* SPDX-License-Identifier: Apache-2.0 */
/* What launchers (agents of the family QNY_FAMILY_LAUNCHER) and hosts say to one another.
 *
 * A launch is known by a uuid that its host chose and keeps; there is at most one agent of it at a time. What a host is told
 * goes to a service of its own, which it declares. */
#ifndef QUENARY_LAUNCHER_H
#define QUENARY_LAUNCHER_H

/* Service of a launcher: string uuid of the launch, string absolute path of the program, then a string for each argument
 * (none may be left out or joined: no shell ever sees them). Answered by "started", "running", "refused" or
 * "failed". */
#define QNY_LAUNCHER_START "start_agent"

/* Service of a launcher: string uuid of a launch, or integer process id, of an agent that it started and that no longer
 * answers. The agent is asked by the signal TERM, and killed when it does not end. Answered by "refused" when this launcher
 * runs no such agent, else by the end, which the host that had it started is told, too. */
#define QNY_LAUNCHER_STOP "stop_agent"

/* Output of a launcher, a string: what it may start, as JSON [{"program":"/path","family":"uuid"}]; the family is "" where
 * nobody wrote it down. */
#define QNY_LAUNCHER_PROGRAMS "programs"

/* Service of a host: string uuid of the launch ("" when a process was named that is none of its agents), string state, integer number,
 * string text, string last lines that the agent wrote. */
#define QNY_LAUNCH_STATE "launch_state"

/* States                                number                    text */
#define QNY_LAUNCH_STARTED "started"     /* process id             canonical program */
#define QNY_LAUNCH_RUNNING "running"     /* process id             program; it was not started, because it runs already */
#define QNY_LAUNCH_REFUSED "refused"     /* 0, or the process id   why, a sentence */
#define QNY_LAUNCH_FAILED "failed"       /* the system's errno     why, a sentence */
#define QNY_LAUNCH_EXITED "exited"       /* exit status            program */
#define QNY_LAUNCH_SIGNALLED "signalled" /* signal that ended it   program */
#define QNY_LAUNCH_STOPPED "stopped"     /* 0, or the signal       program; it was ended as a host had asked by QNY_LAUNCHER_STOP */
#define QNY_LAUNCH_LOST "lost"           /* 0                      program; how it ended is not known */

#endif
