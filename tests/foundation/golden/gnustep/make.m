// Makes songs.archive: gcc $(gnustep-config --objc-flags) -std=gnu11 make.m -lgnustep-base -lobjc && ./a.out
#import <Foundation/Foundation.h>

int main(void) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  NSDictionary* artist =
      [NSDictionary dictionaryWithObjectsAndKeys:@"a1", @"id", @"Asha Verma", @"name", @"singer", @"role", nil];
  const char* titles[] = {"नमस्ते दुनिया", "வணக்கம் 😀", "Plain & simple"};
  NSMutableArray* list = [NSMutableArray array];
  for (int i = 0; i < 3; i++) {
    NSMutableDictionary* song = [NSMutableDictionary dictionary];
    [song setObject:[NSString stringWithFormat:@"song-%d", i] forKey:@"id"];
    [song setObject:[NSString stringWithUTF8String:titles[i]] forKey:@"title"];
    [song setObject:[NSMutableString stringWithString:@"mutable"] forKey:@"note"];
    [song setObject:[NSNumber numberWithInt:i * 100000] forKey:@"plays"];
    [song setObject:[NSNumber numberWithLongLong:-5000000000LL] forKey:@"offset"];
    [song setObject:[NSNumber numberWithDouble:0.1 * i] forKey:@"score"];
    [song setObject:[NSNumber numberWithFloat:0.5f] forKey:@"weight"];
    [song setObject:[NSNumber numberWithBool:YES] forKey:@"explicit"];
    [song setObject:[NSDate dateWithTimeIntervalSince1970:0] forKey:@"released"];
    [song setObject:[NSNull null] forKey:@"album"];
    [song setObject:[@"bytes" dataUsingEncoding:NSUTF8StringEncoding] forKey:@"art"];
    [song setObject:[NSMutableData dataWithBytes:"\0\1\2" length:3] forKey:@"mask"];
    [song setObject:[NSArray arrayWithObjects:artist, artist, nil] forKey:@"artists"];
    [song setObject:[NSSet setWithObject:@"x"] forKey:@"tags"];
    [song setObject:[NSDictionary dictionary] forKey:@"nothing"];
    [list addObject:song];
  }
  NSDictionary* chart = [NSDictionary dictionaryWithObjectsAndKeys:list, @"list", @"hindi", @"language", nil];
  [[NSKeyedArchiver archivedDataWithRootObject:chart] writeToFile:@"songs.archive" atomically:NO];
  [pool release];
  return 0;
}
