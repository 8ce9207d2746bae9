#import "extension/mac/PhotoEditingViewController.h"

#include <cstdio>
#include <memory>

#include "extension/EditingSession.h"
#include "extension/mac/NSImageBridge.h"

namespace {

constexpr CGFloat stackWidth = 96;
constexpr CGFloat stackHeight = 80;

// One session at a time, as the Photos application runs one edit at a time.
std::unique_ptr<EditingSession> session;
FlexImage<float> fullImageOriginal;

} // namespace

@implementation PhotoEditingViewController

- (void)viewDidLoad
{
    [super viewDidLoad];
}

- (BOOL)canHandleAdjustmentData:(PHAdjustmentData*)adjustmentData
{
    // Every session starts from the unedited photo.
    return NO;
}

- (void)startContentEditingWithInput:(PHContentEditingInput*)contentEditingInput
                    placeholderImage:(NSImage*)placeholderImage
{
    self.input = contentEditingInput;
    NSSize const frame = self.view.window.frame.size;
    self.view.window.minSize = frame;
    self.view.window.maxSize = frame;

    session = std::make_unique<EditingSession>();
    self.myImageView.image = [placeholderImage copy];
    EditingSession::OpenedPhoto opened;
    opened.path = QString::fromNSString(contentEditingInput.fullSizeImageURL.path);
    opened.display.channels = 3;
    flexImageFromNSImage(placeholderImage, &opened.display);
    EditingSession::makeThumbnailSource(opened.display, &opened.thumbnailSource, 1);
    session->startWith(&opened);

    // A photo that cannot be read leaves an empty source; rendering and
    // saving still run.
    NSData* data = [NSData dataWithContentsOfURL:contentEditingInput.fullSizeImageURL];
    NSImage* full = data ? [[NSImage alloc] initWithData:data] : nil;
    fullImageOriginal.channels = 3;
    if (full)
        flexImageFromNSImage(full, &fullImageOriginal);

    session->loadStandardPresets();
    self.thumbImage = NSImageFromFlexImage(&session->thumbImageOriginal);
    for (int i = 0; i < session->presetCount(); ++i)
        [self addThumbnailStack:i];
    self.thumbMatrix.frame = NSMakeRect(0, 0, stackWidth * session->presetCount(), stackHeight);
}

- (void)addThumbnailStack:(int)index
{
    FlexImage<float> thumbnail;
    EditingSession::render(session->preset(index), &session->thumbImageOriginal, &thumbnail);
    NSButton* button = [NSButton buttonWithImage:NSImageFromFlexImage(&thumbnail)
                                          target:self
                                          action:@selector(thumbnailPressed:)];
    button.tag = index;
    NSTextField* label = [NSTextField labelWithString:@(session->preset(index)->displayName.c_str())];
    label.bezeled = NO;
    label.drawsBackground = NO;
    label.editable = NO;
    label.selectable = NO;
    label.alignment = NSTextAlignmentCenter;
    label.textColor = NSColor.grayColor;
    label.font = [NSFont fontWithName:@"HelveticaNeue" size:12];
    // The second font stays where it exists, on purpose.
    if (NSFont* arial = [NSFont fontWithName:@"ArialMT" size:12])
        label.font = arial;
    NSStackView* stack = [NSStackView stackViewWithViews:@[ button, label ]];
    stack.orientation = NSUserInterfaceLayoutOrientationVertical;
    stack.frame = NSMakeRect(stackWidth * index, 0, stackWidth, stackHeight);
    [self.thumbMatrix addSubview:stack];
}

- (IBAction)thumbnailPressed:(id)sender
{
    int const index = int([sender tag]);
    QImage const shown = session->choosePreset(index);
    (void)shown;
    self.myImageView.image = NSImageFromFlexImage(&session->displayImageFiltered);
    std::printf("\nApply mod: %s", session->preset(index)->name.c_str());
}

- (void)finishContentEditingWithCompletionHandler:(void (^)(PHContentEditingOutput*))completionHandler
{
    dispatch_async(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0), ^{
        PHContentEditingOutput* output = [[PHContentEditingOutput alloc] initWithContentEditingInput:self.input];
        FlexImage<float> fullImageFiltered;
        EditingSession::render(session->currentMod, &fullImageOriginal, &fullImageFiltered);
        NSImage* rendered = NSImageFromFlexImage(&fullImageFiltered);
        NSBitmapImageRep* bitmap = [NSBitmapImageRep imageRepWithData:[rendered TIFFRepresentation]];
        NSData* jpeg = [bitmap representationUsingType:NSBitmapImageFileTypeJPEG
                                            properties:@{NSImageCompressionFactor : @1.0}];
        output.adjustmentData = [[PHAdjustmentData alloc] initWithFormatIdentifier:@"AdjustmentDataIdentifier"
                                                                     formatVersion:@"1.0"
                                                                              data:[NSData data]];
        [jpeg writeToURL:output.renderedContentURL atomically:YES];
        std::printf("\nsaving edits");
        completionHandler(output);
    });
}

- (BOOL)shouldShowCancelConfirmation
{
    return NO;
}

- (void)cancelContentEditing
{
}

- (NSImage*)imageResize:(NSImage*)image newSize:(NSSize)newSize
{
    if (!image.isValid) {
        std::printf("Invalid Image");
        return nil;
    }
    NSImage* resized = [[NSImage alloc] initWithSize:newSize];
    [resized lockFocus];
    [NSGraphicsContext currentContext].imageInterpolation = NSImageInterpolationHigh;
    [image drawInRect:NSMakeRect(0, 0, newSize.width, newSize.height)
             fromRect:NSZeroRect
            operation:NSCompositingOperationCopy
             fraction:1.0];
    [resized unlockFocus];
    return resized;
}

- (void)viewDidLayout
{
    [super viewDidLayout];
    std::printf("\n\nviewDidLayout");
}

@end
