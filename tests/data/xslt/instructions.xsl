<?xml version="1.0"?>
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform" xmlns:n="urn:names"
    xmlns:out="urn:alias" xmlns:ext="urn:ext" extension-element-prefixes="ext" exclude-result-prefixes="n">
<xsl:import href="instructions-base.xsl"/>
<xsl:include href="instructions-part.xsl"/>
<xsl:output method="xml" indent="no" cdata-section-elements="raw"/>
<xsl:strip-space elements="*"/>
<xsl:preserve-space elements="group"/>
<xsl:namespace-alias stylesheet-prefix="out" result-prefix="xsl"/>
<xsl:key name="by-id" match="item" use="@n:id"/>
<xsl:decimal-format name="eu" decimal-separator="," grouping-separator="."/>
<xsl:attribute-set name="common"><xsl:attribute name="kind">set</xsl:attribute></xsl:attribute-set>
<xsl:param name="given">default</xsl:param>
<xsl:variable name="count" select="count(//item)"/>

<xsl:template match="/">
  <result count="{$count}" given="{$given}">
    <xsl:apply-templates/>
  </result>
</xsl:template>

<xsl:template match="shop">
  <sorted><xsl:for-each select=".//item">
    <xsl:sort select="@price" data-type="number" order="descending"/>
    <i pos="{position()}"><xsl:value-of select="@n:id"/></i></xsl:for-each></sorted>
  <sorted-text><xsl:apply-templates select="item" mode="imported"><xsl:sort select="@n:id"/></xsl:apply-templates></sorted-text>
  <xsl:apply-templates select="item|comment()|processing-instruction()|group"/>
  <xsl:call-template name="included"/>
  <out:stylesheet version="1.0"><out:template match="/"/></out:stylesheet>
  <ext:unknown><xsl:fallback><fell-back/></xsl:fallback></ext:unknown>
  <xsl:message>progress only</xsl:message>
  <raw>a &lt; b ]]&gt; c</raw>
</xsl:template>

<xsl:template match="item" mode="imported" priority="2"><over><xsl:apply-imports/></over></xsl:template>

<xsl:template match="item">
  <xsl:variable name="tree"><part><xsl:value-of select="."/></part></xsl:variable>
  <xsl:element name="{name()}" use-attribute-sets="common">
    <xsl:attribute name="n:key" namespace="urn:names"><xsl:value-of select="@n:id"/></xsl:attribute>
    <xsl:choose>
      <xsl:when test="@price &gt; 50">dear</xsl:when>
      <xsl:when test="@price &lt; 0">odd</xsl:when>
      <xsl:otherwise><xsl:number value="@price" format="I"/></xsl:otherwise>
    </xsl:choose>
    <xsl:text>  kept  </xsl:text>
    <xsl:number level="any" count="item" format="a."/>
    <xsl:number level="multiple" count="item|group" format="1.1 "/>
    <xsl:copy-of select="$tree"/>
    <xsl:apply-templates/>
  </xsl:element>
</xsl:template>

<xsl:template match="b"><b2><xsl:apply-imports/></b2></xsl:template>
<xsl:template match="comment()"><xsl:comment>copy of<xsl:value-of select="."/></xsl:comment></xsl:template>
<xsl:template match="processing-instruction('pi')"><xsl:processing-instruction name="re-{name()}"><xsl:value-of select="."/></xsl:processing-instruction></xsl:template>
<xsl:template match="group"><xsl:copy><xsl:copy-of select="@*|node()"/></xsl:copy></xsl:template>
</xsl:stylesheet>
