#pragma once

// The photo-editing extension's view controller: what the Photos
// application talks to while the user edits a photo with Quillmere. It
// only sequences the editing session, as the desktop editor does. Apple only.

#import <Cocoa/Cocoa.h>
#import <PhotosUI/PhotosUI.h>

@interface PhotoEditingViewController : NSViewController <PHContentEditingController>

@property(strong) PHContentEditingInput* input;
@property(weak) IBOutlet NSImageView* myImageView;
@property(weak) IBOutlet NSView* thumbView;
@property(weak) IBOutlet NSScrollView* thumbScrollView;
@property(strong) NSImage* thumbImage;
@property(weak) IBOutlet NSView* thumbMatrix;

- (IBAction)thumbnailPressed:(id)sender;
- (NSImage*)imageResize:(NSImage*)image newSize:(NSSize)newSize;

@end
