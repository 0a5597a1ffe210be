// The same application where the rest of it is C++.
#import "Tests/Framework/PlainHost.m"
