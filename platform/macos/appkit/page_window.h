#pragma once

#import <AppKit/AppKit.h>

/// A window whose content view, a web view, extends under a transparent title bar. A web view
/// takes all mouse events there (it answers NO to mouseDownCanMoveWindow), so the window
/// itself starts drags and handles double clicks. The content view has the keyboard focus
/// whenever no other view has it. Main thread only.
@interface PageWindow : NSWindow
@end
