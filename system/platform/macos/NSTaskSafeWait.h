// A wait on an `NSTask` that a stuck program can't hold.
#pragma once

#import <Foundation/Foundation.h>

@interface NSTask (SafeWait)

/// Waits until the task has ended, as told at `WaitForSubprocess`: after `timeout` seconds it is
/// interrupted, and a second later terminated and left alone.
- (void)waitUntilExitWithTimeout:(float)timeout;

@end
