#!/usr/bin/perl
# Whole programs beside cp, and the whole job beside its tools run by hand: in turns, from a warm cache, medians.
# Usage: ratios.pl BIN_FOLDER [FOLDER]; FOLDER (default: a new one in /tmp) needs 4 GB of room.
use strict;
use warnings;
use Cwd qw(abs_path);
use File::Temp qw(tempdir);
use Time::HiRes qw(time);

my $bin = abs_path($ARGV[0]);
my $root = tempdir(DIR => $ARGV[1] // '/tmp', CLEANUP => 1);
chdir $root or die $!;
my $rounds = 9;

# Runs a command; gives its wall time and its peak memory in MiB.
sub run {
    my $process = fork // die $!;
    my $start = time;
    if ($process == 0) { open STDERR, '>', '/dev/null'; open STDIN, '<', '/dev/null'; exec @_ or die }
    my ($status, $usage) = (pack('i', 0), "\0" x 144);
    syscall(61, $process, $status, 0, $usage);    # wait4 on x86-64
    my $wall = time - $start;
    die "@_ failed\n" if unpack 'i', $status;
    return ($wall, unpack('q', substr $usage, 32, 8) / 1024);
}

sub median { my @sorted = sort { $a <=> $b } @_; return $sorted[@sorted / 2] }

# Two ways in turns, after a round that does not count: their medians and the median of the pairs' ratios.
sub compare {
    my ($name, $ours, $theirs) = @_;
    my (@ours, @theirs, @ratios, $memory);
    for (0 .. $rounds) {
        my ($wall, $peak) = $ours->();
        my ($other) = $theirs->();
        next if !$_;
        push @ours, $wall;
        push @theirs, $other;
        push @ratios, $wall / $other;
        $memory = $peak if !defined $memory || $peak > $memory;
    }
    printf "| %s | %.3f s | %.3f s | %.2f | %.1f MiB |\n", $name, median(@ours), median(@theirs), median(@ratios), $memory;
}

sub random_file {
    my ($name, $mebibytes) = @_;
    system("head -c ${mebibytes}M /dev/urandom > '$name'") == 0 or die;
}

print "| | ours | beside it | ratio | our peak memory |\n|---|---|---|---|---|\n";

random_file('plain', 16);
compare('`scramble`, 16 MiB, beside `cp`', sub { unlink 'scrambled'; run("$bin/scramble", 'plain', 'scrambled') },
    sub { unlink 'copy'; run('cp', 'plain', 'copy') });

mkdir 'disc';
random_file('disc/data.bin', 650);
system("cp scrambled disc/1ST_READ.BIN") == 0 or die;
mkdir 'app';
system("cp $bin/* app/") == 0 or die;
$ENV{TMPDIR} = $root;
my @marrowvan = ("$root/app/marrowvan", '--dir', "$root/disc", '--cdi', "$root/out.cdi");
run(@marrowvan);
my $iso = "$root/data.iso";
my @mkisofs = ('mkisofs', '-G', "$root/ip", '-C', '0,11702', '-J', '-l', '-r', '-V', 'disc', '-o', $iso, "$root/disc");
rename 'disc/IP.BIN', 'ip' or die;
run(@mkisofs);
compare('`cdi4dc`, 650 MiB, beside `cp` of the image', sub { unlink 'out.cdi'; run("$bin/cdi4dc", $iso, 'out.cdi') },
    sub { unlink 'copy'; run('cp', 'out.cdi', 'copy') });
unlink 'copy';

system('cp', 'ip', 'disc/IP.BIN');
compare('`marrowvan`, 650 MiB, beside its tools by hand',
    sub { unlink 'out.cdi', $iso; run(@marrowvan) },
    sub {
        rename 'disc/IP.BIN', 'ip';
        unlink 'out.cdi', $iso;
        my $start = time;
        run(@mkisofs);
        run("$bin/cdi4dc", $iso, 'out.cdi');
        unlink $iso;
        my $wall = time - $start;
        rename 'ip', 'disc/IP.BIN';
        return ($wall, 0);
    });
