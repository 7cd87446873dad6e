#pragma once

/**
 * Says on what the numbers were made: library, build, kernel, file system. It is printed in front
 * of the scenarios, and a warning on standard error when the build is not optimised.
 */
void describeEnvironment();
