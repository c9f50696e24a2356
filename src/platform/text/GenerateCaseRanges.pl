#!/usr/bin/env perl
# Writes CaseRanges.inc: the one-to-one case pairs of Perl's Unicode tables, as runs with a constant distance.
#   perl GenerateCaseRanges.pl > CaseRanges.inc
use strict;
use warnings;
use Unicode::UCD qw(prop_invmap);

sub simple_mapping {
    my ($property) = @_;
    my ($starts, $maps, $format) = prop_invmap($property);
    die "unexpected format $format" unless $format eq 'a' or $format eq 'al';
    my %mapping;
    for my $i (0 .. $#$starts - 1) {
        next if ref $maps->[$i] or $maps->[$i] == 0;
        $mapping{$_} = $maps->[$i] + $_ - $starts->[$i] for $starts->[$i] .. $starts->[$i + 1] - 1;
    }
    return \%mapping;
}

my $upper = simple_mapping('Simple_Uppercase_Mapping');
my $lower = simple_mapping('Simple_Lowercase_Mapping');

sub print_runs {
    my ($name, $from, $back) = @_;
    my @pairs = map { [$_, $from->{$_}] }
        grep { ($back->{ $from->{$_} } // -1) == $_ } sort { $a <=> $b } keys %$from;
    my @runs;
    for my $pair (@pairs) {
        my ($code, $delta) = ($pair->[0], $pair->[1] - $pair->[0]);
        my $run = $runs[-1];
        if ($run and $run->{delta} == $delta) {
            my $step = $code - $run->{last};
            if ($step <= 2 and ($run->{first} == $run->{last} or $run->{step} == $step)) {
                @$run{qw(last step)} = ($code, $step);
                next;
            }
        }
        push @runs, { first => $code, last => $code, step => 1, delta => $delta };
    }
    printf "constexpr std::array<CaseRun, %d> %s = {{\n", scalar(@runs), $name;
    printf "    {0x%04X, 0x%04X, %d, %d},\n", @$_{qw(first last step delta)} for @runs;
    print "}};\n";
}

print "// Made by GenerateCaseRanges.pl from Unicode ", Unicode::UCD::UnicodeVersion(), ".\n";
print_runs('kToUpperRuns', $upper, $lower);
print_runs('kToLowerRuns', $lower, $upper);
